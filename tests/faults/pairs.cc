#include "tests/faults/pairs.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <random>
#include <regex>
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

// A run among others on the same storage.
struct Rival {
  std::unique_ptr<Child> child;
  std::string pid = to_string(child->pid());
  int signal = 0;                // that was sent
  std::size_t worked_until = 0;  // a position in the run log at which it surely was at work; or 0
};

struct Pairs {
  const Subject& m_subject;
  const Baseline& m_baseline;
  const unsigned m_seed = m_subject.settings().seed;
  std::mt19937 m_random{m_seed};
  std::vector<Rival> m_rivals = {};
  unsigned m_runs = 0;
  unsigned m_struck = 0;  // were rejected, stopped or killed
  unsigned m_rejected = 0;
  std::string m_wrong = {};

  bool run() {
    const unsigned pairs = std::max(m_subject.settings().points, 1U);
    const std::string name = m_subject.task().name;
    unsigned failures = 0;
    for (unsigned pair = 0; pair < pairs; ++pair) {
      m_wrong.clear();
      compete();
      if (m_wrong.empty()) continue;
      ++failures;
      std::cout << name << ", pair " << pair << " of --seed " << m_seed << ":\n" << m_wrong;
    }
    std::cout << name << " pairs: " << m_runs << " runs, " << m_struck << " struck, " << failures
              << " failures" << std::endl;
    constexpr unsigned k_many = 20;
    return failures == 0 && m_struck != 0 && (m_rejected != 0 || pairs < k_many);
  }

  void expect(bool right, const std::string& text) {
    if (!right) m_wrong += "  " + text + "\n";
  }

  void compete() {
    m_subject.restore();
    m_rivals.clear();
    {
      const PidFilesLock lock(PidFilesLock::Use::read);
      for (const unsigned rivals : {3U, 2U}) {
        start_and_strike(rivals);
        await_last(rivals);
        boost::filesystem::remove(m_subject.lock_file());
      }
    }
    judge_log();
    m_wrong += judge_storage(m_subject, m_baseline);
  }

  // Half of the moments are now.
  void start_and_strike(unsigned rivals) {
    constexpr int k_longest_pause_ms = 100;  // about as long as a run takes
    std::uniform_int_distribution<int> any_time(-k_longest_pause_ms, k_longest_pause_ms);
    for (unsigned i = 1; i <= rivals; ++i) {
      m_rivals.push_back({m_subject.start({})});
      std::this_thread::sleep_for(std::chrono::milliseconds(std::max(any_time(m_random), 0)));
      strike(m_rivals[m_rivals.size() - 1 - m_random() % i]);
    }
  }

  void strike(Rival& rival) {
    constexpr int k_signals[] = {0, SIGTERM, SIGKILL};
    const int signal = k_signals[m_random() % 3];
    if (signal == 0 || rival.signal != 0) return;
    const std::size_t position = m_subject.run_log().size();
    if (read_text(m_subject.lock_file()) == rival.pid) rival.worked_until = position;
    rival.signal = signal;
    rival.child->send(signal);
  }

  void await_last(unsigned rivals) {
    bool any_is_killed = false;
    for (auto rival = m_rivals.end() - rivals; rival != m_rivals.end(); ++rival) {
      const Ended ended = rival->child->wait(k_longest_run_seconds);
      const bool is_rejected = contains(ended.err, "Refusing to run because");
      const bool is_struck = rival->signal != 0 && (ended.signal == rival->signal ||
                                                    contains(ended.err, "Interrupted: "));
      ++m_runs;
      if (is_rejected || is_struck) ++m_struck;
      if (is_rejected) ++m_rejected;
      expect(ended.exit_status == 0 || is_rejected || is_struck,
             "a run fails, signal " + to_string(ended.signal) + ": " + ended.err);
      // A run may be killed before it has written its id.
      const std::string locked = read_text(m_subject.lock_file());
      const bool is_killed = ended.signal == SIGKILL;
      any_is_killed = any_is_killed || is_killed;
      expect(is_killed || locked != rival->pid, "a run that ended leaves its lock");
    }
    const std::string path = m_subject.lock_file().string();
    if (!boost::filesystem::exists(path)) return;
    expect(any_is_killed, "a lock is left");
    expect(boost::interprocess::file_lock(path.c_str()).try_lock(), "a dead run's lock is held");
  }

  // A run writes its first line after it has taken the lock, and all but "end:" before it releases it.
  void judge_log() {
    const std::string log = m_subject.run_log();
    const std::regex at_work("info pid=([0-9]+) thread=[0-9]+ (?!end: )");
    std::map<std::string, std::size_t> first, last;  // positions by process id
    for (std::sregex_iterator line(log.begin(), log.end(), at_work), none; line != none; ++line) {
      last[line->str(1)] = static_cast<std::size_t>(line->position());
      first.insert(*last.find(line->str(1)));
    }
    for (const Rival& rival : m_rivals)
      last[rival.pid] = std::max(last[rival.pid], rival.worked_until);
    for (const auto& [pid, begin] : first) {
      for (const auto& [other, other_begin] : first)
        expect(other_begin >= begin || last[other] < begin, "two runs at work:\n" + log);
    }
    expect(!contains(log, " was removed or replaced "), "a run loses its lock file");
  }
};

}  // namespace

bool run_pairs(const Subject& subject, const Baseline& baseline) {
  return Pairs{subject, baseline}.run();
}

}  // namespace sandbox::faults
