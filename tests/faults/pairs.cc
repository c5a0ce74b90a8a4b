#include "tests/faults/pairs.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <random>
#include <thread>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/interprocess/sync/file_lock.hpp>

#include "sandbox/pid_files_lock.h"
#include "sandbox/text_file.h"

namespace sandbox::faults {

namespace {

using boost::algorithm::contains;
using std::to_string;
using std::chrono::microseconds;
using std::chrono::steady_clock;

// A run among others on the same storage.
struct Rival {
  std::unique_ptr<Child> child;
  int signal = 0;
  std::size_t worked_until = 0;  // a position in the run log; 0 if unknown
};

// The positions in the run log between which a run was at work for sure: it writes its first line after
// it has taken the lock, and all lines but "end:" before it releases the lock.
struct Work {
  std::size_t first = 0;
  std::size_t last = 0;
};

std::vector<Work> works_in(const std::string& log, const std::vector<Rival>& rivals) {
  std::map<std::string, Work> works;  // by process id
  for (std::size_t begin = 0; begin < log.size(); begin = log.find('\n', begin) + 1) {
    const std::string line = log.substr(begin, log.find('\n', begin) - begin);
    if (!contains(line, " info pid=") || contains(line, " end: exit status ")) continue;
    const std::size_t pid = line.find("pid=") + 4;
    Work& work =
        works.try_emplace(line.substr(pid, line.find(' ', pid) - pid), Work{begin}).first->second;
    work.last = begin;
  }
  std::vector<Work> sorted;
  for (auto& [pid, work] : works) {
    for (const Rival& rival : rivals)
      if (to_string(rival.child->pid()) == pid) work.last = std::max(work.last, rival.worked_until);
    sorted.push_back(work);
  }
  std::sort(sorted.begin(), sorted.end(),
            [](const Work& left, const Work& right) { return left.first < right.first; });
  return sorted;
}

struct Pairs {
  const Subject& m_subject;
  const Baseline& m_baseline;
  std::mt19937 m_random{m_subject.settings().seed};
  microseconds m_whole{0};  // the time of an undisturbed run
  std::vector<Rival> m_rivals = {};
  unsigned m_runs = 0;
  unsigned m_struck = 0;  // were rejected, stopped or killed
  std::string m_wrong = {};

  bool run() {
    m_subject.restore();
    const auto start = steady_clock::now();
    (void)m_subject.run({});
    m_whole = std::chrono::duration_cast<microseconds>(steady_clock::now() - start);
    const unsigned pairs = std::max(m_subject.settings().points, 1U);
    unsigned failures = 0;
    for (unsigned i = 0; i < pairs; ++i) {
      m_wrong.clear();
      compete();
      if (m_wrong.empty()) continue;
      ++failures;
      std::cout << "--task " << m_subject.task().name << " --fault pairs, pair " << i
                << " of --seed " << m_subject.settings().seed << ":\n"
                << m_wrong << std::flush;
    }
    std::cout << m_subject.task().name << " pairs: " << m_runs << " runs in " << pairs << " pairs, "
              << m_struck << " struck, " << failures << " failures" << std::endl;
    return failures == 0 && m_struck != 0;
  }

  void expect(bool right, const std::string& text) {
    if (!right) m_wrong += "  " + text + "\n";
  }

  void compete() {
    m_subject.restore();
    m_rivals.clear();
    {
      const PidFilesLock lock(PidFilesLock::Use::read);
      start_and_strike(3);
      await(0);
      boost::filesystem::remove(m_subject.lock_file());
      start_and_strike(2);
      await(3);
    }
    judge_log();
    m_wrong += judge_storage(m_subject, m_baseline);
  }

  // Half of the moments are now.
  void pause() {
    if (m_random() % 2 == 0) return;
    std::uniform_int_distribution<std::int64_t> any_time(0, m_whole.count());
    std::this_thread::sleep_for(microseconds(any_time(m_random)));
  }

  void start_and_strike(unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
      m_rivals.push_back({m_subject.start({})});
      pause();
      strike(m_rivals[m_rivals.size() - 1 - m_random() % (i + 1)]);
    }
  }

  void strike(Rival& rival) {
    constexpr int k_signals[] = {0, SIGTERM, SIGKILL};
    const int signal = k_signals[m_random() % 3];
    if (signal == 0 || rival.signal != 0) return;
    rival.signal = signal;
    const std::size_t position = m_subject.run_log().size();
    // Its lock file is still there, so it was at work when the log was read.
    if (read_text(m_subject.lock_file()) == to_string(rival.child->pid()))
      rival.worked_until = position;
    rival.child->send(signal);
  }

  void await(std::size_t first) {
    std::vector<std::string> killed;
    for (std::size_t i = first; i < m_rivals.size(); ++i) {
      const Rival& rival = m_rivals[i];
      const Ended ended = rival.child->wait(k_longest_run_seconds);
      const bool is_stopped = ended.exit_status == m_subject.task().failed_exit_status &&
                              contains(ended.err, "Interrupted: ");
      const bool is_rejected =
          ended.exit_status == 1 && contains(ended.err, "Refusing to run because");
      const bool is_struck = ended.signal == rival.signal && rival.signal != 0;
      ++m_runs;
      if (is_stopped || is_rejected || is_struck) ++m_struck;
      expect(
          ended.exit_status == 0 || is_rejected || is_struck || (is_stopped && rival.signal != 0),
          "a run ends with " + to_string(ended.exit_status) + ", signal " +
              to_string(ended.signal) + ": " + ended.err);
      if (ended.signal == SIGKILL) killed.push_back(to_string(rival.child->pid()));
    }
    judge_lock(killed);
  }

  void judge_lock(const std::vector<std::string>& killed) {
    const std::string path = m_subject.lock_file().string();
    if (!boost::filesystem::exists(path)) return;
    const std::string pid = read_text(path);
    // A run that is killed before it has written its id leaves an empty file.
    const bool is_of_killed = std::find(killed.begin(), killed.end(), pid) != killed.end();
    expect(is_of_killed || (pid.empty() && !killed.empty()), "a run that ended leaves its lock");
    boost::interprocess::file_lock lock(path.c_str());
    expect(lock.try_lock(), "a dead run's lock is held");
  }

  void judge_log() {
    const std::string log = m_subject.run_log();
    expect(!contains(log, " was removed or replaced "), "a run loses its lock file");
    std::size_t last = 0;
    for (const Work& work : works_in(log, m_rivals)) {
      expect(work.first >= last, "two runs at work:\n" + log);
      last = std::max(last, work.last);
    }
  }
};

}  // namespace

bool run_pairs(const Subject& subject, const Baseline& baseline) {
  return Pairs{subject, baseline}.run();
}

}  // namespace sandbox::faults
