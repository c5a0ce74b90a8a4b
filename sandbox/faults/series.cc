#include "sandbox/faults/series.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <iterator>
#include <thread>

namespace sandbox::faults {

Series::Series(const Moments& moments, const Subject& subject, const Undisturbed& undisturbed,
               const Fault& fault)
    : m_moments(moments),
      m_subject(subject),
      m_undisturbed(undisturbed),
      m_fault(fault),
      m_random(moments.seed) {}

bool Series::run() {
  if (m_fault.what.empty()) {
    send_signals();
  } else {
    inject_at_points();
  }
  std::cout << m_subject.task().name << " " << m_fault.name << ": " << m_runs << " runs, "
            << m_disturbed << " did not end with 0, " << m_failures << " failures" << std::endl;
  return m_failures == 0;
}

std::vector<Point> Series::draw_points() {
  const std::size_t colon = m_moments.at.find(':');
  if (colon != std::string::npos) {
    const auto n = static_cast<unsigned>(std::stoul(m_moments.at.substr(colon + 1)));
    return {{m_moments.at.substr(0, colon), n}};
  }
  const std::string& chosen = m_moments.calls;
  const std::string calls = chosen.empty() ? m_fault.calls() : chosen;
  std::vector<Point> points = points_of(m_subject, calls, m_moments.all_threads);
  if (m_moments.points != 0 && m_moments.points < points.size()) {
    std::shuffle(points.begin(), points.end(), m_random);
    points.resize(m_moments.points);
  }
  return points;
}

void Series::inject_at_points() {
  // A run that takes so long waits for something that never comes.
  const std::vector<std::string> bounded{"timeout", "-s", "KILL", "100"};
  for (const Point& point : draw_points()) {
    m_subject.restore();
    std::vector<std::string> prefix = bounded;
    const auto strace = inject(point, m_fault.what, m_fault.from_then_on, m_moments.all_threads);
    prefix.insert(prefix.end(), strace.begin(), strace.end());
    const bool can_tell = point.call != "write" || !m_fault.from_then_on;
    judge(m_subject.run(prefix), can_tell ? m_fault.intent : Intent::silence,
          " --at " + point.call + ":" + std::to_string(point.n));
  }
}

// To the program alone or, as a terminal does, to the commands that it runs as well.
void Series::send_signals() {
  using std::chrono::microseconds;
  using std::chrono::steady_clock;
  m_subject.restore();
  const auto start = steady_clock::now();
  (void)m_subject.run({});
  const auto whole = std::chrono::duration_cast<microseconds>(steady_clock::now() - start).count();
  std::uniform_int_distribution<std::int64_t> any_time(0, whole);
  constexpr int k_signals[] = {SIGINT, SIGTERM, SIGHUP};
  for (unsigned i = 0; i < std::max(m_moments.points, 1U); ++i) {
    m_subject.restore();
    const int signal = k_signals[m_random() % std::size(k_signals)];
    const bool to_all = m_random() % 2 == 0;
    const microseconds delay(any_time(m_random));
    const auto child = m_subject.start({"setsid"});
    std::this_thread::sleep_for(delay);
    (void)::kill(to_all ? -child->pid() : child->pid(), signal);
    judge(child->wait(), m_fault.intent,
          ", signal " + std::to_string(signal) + (to_all ? " to all" : "") + " after " +
              std::to_string(delay.count()) + " us");
  }
}

void Series::judge(const Ended& ended, Intent intent, const std::string& moment) {
  ++m_runs;
  if (ended.exit_status != 0) ++m_disturbed;
  const std::string wrong = faults::judge(m_subject, m_undisturbed, ended, intent);
  if (wrong.empty()) return;
  ++m_failures;
  std::cout << "--task " << m_subject.task().name << " --fault " << m_fault.name << moment
            << ": exit status " << ended.exit_status << "\n"
            << wrong << "  standard error: " << ended.err.substr(0, ended.err.find('\n'))
            << std::endl;
}

}  // namespace sandbox::faults
