#include "tests/faults/series.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/range/algorithm_ext/erase.hpp>

#include "sandbox/pid_files_lock.h"
#include "sandbox/text_file.h"
#include "tests/faults/pairs.h"
#include "tests/faults/power_cuts.h"
#include "tests/faults/traced_call.h"

namespace sandbox::faults {

namespace fs = boost::filesystem;

namespace {

using std::to_string;
using std::chrono::microseconds;
using std::chrono::steady_clock;

// They change files, directories and databases.
const std::string k_changing_calls =
    "write,pwrite64,pwritev,fsync,fdatasync,rename,renameat,unlink,unlinkat,truncate,ftruncate,"
    "fallocate,mkdir,mkdirat,rmdir,link,linkat,symlink,symlinkat,chmod,fchmod,chown,fchown";
// Those, and openat, which creates files. The others need no space.
const std::string k_filling_calls = k_changing_calls + ",openat";
// Other calls that may fail. Not close: an injected failure leaves the descriptor open, and a real one
// does not.
const std::string k_failing_calls =
    k_filling_calls + ",read,pread64,lseek,getdents64,pipe2,vfork,clone,clone3,wait4";
// Also locks. If they fail from a point on, SQLite waits ten seconds for the record.
const std::string k_all_calls = k_failing_calls + ",fcntl";

// A point in a run: the n-th call of a system call, counted from 1.
struct Point {
  std::string call;
  unsigned long n = 1;
  bool is_past_end = false;  // the run makes one call less
};

// The words that precede a command to trace these calls. With several threads, strace traces each
// thread and child, and counts its calls separately.
std::vector<std::string> strace(const Subject& subject, const std::string& calls) {
  const std::string trace = subject.trace_file().string();
  const bool all = subject.settings().threads > 1;
  return {"strace", all ? "-fqq" : "-qq", "-o", trace, "-e", "trace=" + calls};
}

// Every point at which a run makes one of these calls, and one more for each call. Lines of a trace are
// "call(…" or, with all threads, "pid call(…". A call that another thread interrupts continues in a
// later line, which is not counted.
std::vector<Point> points_of(const Subject& subject, const std::string& calls) {
  subject.restore();
  const Ended ended = subject.run(strace(subject, calls));
  if (ended.exit_status != 0) {
    throw std::runtime_error("strace cannot trace the program: " + ended.err);
  }
  std::map<std::string, unsigned> made;  // by call, with the thread
  std::map<std::string, unsigned> most;  // by call
  std::istringstream lines(read_text(subject.trace_file()));
  for (std::string line; std::getline(lines, line);) {
    const std::string head = line.substr(0, line.find('('));
    if (head.size() == line.size() || head.find('<') != std::string::npos) continue;
    unsigned& count = most[head.substr(head.find_last_of(' ') + 1)];
    count = std::max(count, ++made[head]);
  }
  std::vector<Point> points;
  for (const auto& [call, count] : most) {
    for (unsigned n = 1; n <= count + 1; ++n) points.push_back({call, n, n > count});
  }
  return points;
}

// Restores the subject and runs it with the fault at that point of each thread and child.
Ended run_with(const Subject& subject, const Point& point, const Fault& fault) {
  std::vector<std::string> words = strace(subject, point.call);
  words.insert(words.end(), {"-e", "inject=" + point.call + ":" + fault.what + ":when=" +
                                       to_string(point.n) + (fault.from_then_on ? "+" : "")});
  subject.restore();
  return subject.run(words);
}

Point amid_writes(const Subject& subject) {
  const std::vector<Point> points = points_of(subject, "pwrite64");
  return points.at(points.size() / 2);
}

// A sync of a directory after the removal of a journal, by which a transaction was committed: half-way
// among them. With several threads, whose calls are mixed, amid the writes.
Point after_journal(const Subject& subject) {
  subject.restore();
  (void)subject.run(trace_changes(subject.trace_file()));
  std::vector<Point> points;
  Point point{"fdatasync", 0};
  bool is_committed = false;
  for (const TracedCall& call : traced_calls(subject.trace_file())) {
    if (call.name == "openat") continue;
    if (call.name == point.call) ++point.n;
    if (call.name == point.call && is_committed) points.push_back(point);
    is_committed = call.name == "unlink" && boost::ends_with(call.words.at(0), "po.db-journal");
  }
  return points.empty() ? amid_writes(subject) : points[points.size() / 2];
}

struct Series {
  const Subject& m_subject;
  const Baseline& m_baseline;
  const Fault& m_fault;
  const Settings& m_settings = m_subject.settings();
  const std::string m_name = m_subject.task().name + " --fault " + m_fault.name;
  // Other points for each task and fault.
  std::mt19937 m_random{static_cast<unsigned>(std::hash<std::string>()(m_name)) + m_settings.seed};
  unsigned m_runs = 0;
  unsigned m_struck = 0;
  unsigned m_failures = 0;

  bool run() {
    const bool is_signal = m_fault.intent == Intent::interrupt;
    is_signal ? send_signals() : inject();
    std::cout << m_subject.task().name << " " << m_fault.name << ": " << m_runs << " runs, "
              << m_struck << " struck, " << m_failures << " failures" << std::endl;
    const bool met = m_struck != 0 || is_signal;
    if (!met) std::cout << "No run met the fault.\n";
    return m_failures == 0 && met;
  }

  // In the order in which they are tried.
  std::vector<Point> draw_points() {
    const std::string& at = m_settings.at;
    if (!at.empty()) return {{at.substr(0, at.find(':')), std::stoul(at.substr(at.find(':') + 1))}};
    std::vector<Point> points =
        points_of(m_subject, m_settings.calls.empty() ? m_fault.calls : m_settings.calls);
    if (m_settings.points != 0 && m_settings.points < points.size()) {
      boost::range::remove_erase_if(points, [](const Point& point) { return point.is_past_end; });
      std::shuffle(points.begin(), points.end(), m_random);
    }
    return points;
  }

  // With several threads, the calls of each differ from run to run. A run that did not reach its point does
  // not count as one of the points asked for.
  void inject() {
    for (const Point& point : draw_points()) {
      if (m_settings.points != 0 && m_struck == m_settings.points) break;
      const std::string& call = point.call;
      const Ended ended = run_with(m_subject, point, m_fault);
      const std::string trace = read_text(m_subject.trace_file());
      if (ended.signal == SIGKILL || trace.find("(INJECTED)") != std::string::npos) ++m_struck;
      const bool mutes = call == "write" && m_fault.from_then_on;
      const bool keeps_lock = call == "unlinkat" || (call == "fcntl" && m_fault.from_then_on);
      judge(ended, {m_fault.intent, 0, mutes, keeps_lock},
            " --at " + call + ":" + to_string(point.n));
    }
  }

  // Sends them to the program or, as a terminal does, also to its commands.
  void send_signals() {
    m_subject.restore();
    const auto start = steady_clock::now();
    (void)m_subject.run({});
    const auto whole = std::chrono::duration_cast<microseconds>(steady_clock::now() - start);
    std::uniform_int_distribution<std::int64_t> any_time(0, whole.count());
    constexpr int k_signals[] = {SIGINT, SIGTERM, SIGHUP};
    for (unsigned i = 0; i < std::max(m_settings.points, 1U); ++i) {
      const int signal = k_signals[m_random() % std::size(k_signals)];
      const bool to_all = m_random() % 2 == 0;
      const microseconds delay(any_time(m_random));
      m_subject.restore();
      const PidFilesLock lock(PidFilesLock::Use::read);
      const auto child = m_subject.start({});
      std::this_thread::sleep_for(delay);
      to_all ? child->send_to_group(signal) : child->send(signal);
      const Ended ended = child->wait(k_longest_run_seconds);
      if (ended.exit_status != 0 || !ended.err.empty()) ++m_struck;
      judge(ended, {m_fault.intent, signal, false, false},
            ", signal " + to_string(signal) + (to_all ? " to all" : "") + " after " +
                to_string(delay.count()) + " us");
    }
  }

  void judge(const Ended& ended, const Disturbance& disturbance, const std::string& point) {
    ++m_runs;
    const std::string wrong = faults::judge(m_subject, m_baseline, ended, disturbance);
    if (wrong.empty()) return;
    ++m_failures;
    std::cout << "--task " << m_name << point << " --threads " << m_settings.threads << " --scale "
              << m_settings.scale << ": exit status " << ended.exit_status << "\n"
              << wrong << "  standard error: " << ended.err.substr(0, ended.err.find('\n'))
              << std::endl;
  }
};

}  // namespace

const std::vector<Fault>& all_faults() {
  static const std::vector<Fault> faults{
      {"kill", Intent::kill, "signal=KILL", false, k_changing_calls},
      {"EIO", Intent::fail, "error=EIO", false, k_all_calls},
      {"EIO+", Intent::fail, "error=EIO", true, k_failing_calls},
      {"ENOSPC", Intent::fail, "error=ENOSPC", false, k_filling_calls},
      {"ENOSPC+", Intent::fail, "error=ENOSPC", true, k_filling_calls},
      {"signal", Intent::interrupt},
      {"pairs", Intent::compete},
      {"power", Intent::cut_power},
      {"power_random", Intent::cut_power, "", false, "", true},
  };
  return faults;
}

void stop_half_way(const Subject& subject) {
  const bool writes = subject.task().effect == Effect::moves;
  Point point = writes ? amid_writes(subject) : after_journal(subject);
  // With several threads, none may reach the point this time.
  for (; point.n > 0; point.n /= 2) {
    std::vector<std::string> words = trace_changes(subject.stopped_trace());
    words.insert(words.end(),
                 {"-e", "inject=" + point.call + ":signal=KILL:when=" + to_string(point.n)});
    subject.restore();
    (void)subject.run(words);
    if (fs::remove(subject.lock_file())) return subject.keep();
  }
  throw std::runtime_error("the run could not be killed half-way");
}

bool run_series(const Subject& subject, const Baseline& baseline, const Fault& fault) {
  if (fault.intent == Intent::compete) return run_pairs(subject, baseline);
  if (fault.intent == Intent::cut_power) return run_power_cuts(subject, baseline, fault);
  return Series{subject, baseline, fault}.run();
}

}  // namespace sandbox::faults
