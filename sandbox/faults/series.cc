#include "sandbox/faults/series.h"

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include <boost/lexical_cast/try_lexical_convert.hpp>

namespace sandbox::faults {

Series::Series(const Moments& moments, const Subject& subject, const Undisturbed& undisturbed,
               const Fault& fault)
    : m_moments(moments),
      m_subject(subject),
      m_undisturbed(undisturbed),
      m_fault(fault),
      // Other moments for each task and fault.
      m_random(static_cast<unsigned>(std::hash<std::string>()(subject.task().name + fault.name)) +
               moments.seed) {}

bool Series::run() {
  if (m_fault.intent == Intent::interrupt) {
    send_signals();
  } else {
    for (const Point& point : draw_points()) inject_at(point);
  }
  std::cout << m_subject.task().name << " " << m_fault.name << ": " << m_runs << " runs, "
            << m_struck << " struck, " << m_failures << " failures" << std::endl;
  const bool met = m_struck != 0 || m_fault.intent == Intent::interrupt;
  if (!met) std::cout << "No run met the fault.\n";
  return m_failures == 0 && met;
}

std::vector<Point> Series::draw_points() {
  if (!m_moments.at.empty()) {
    const std::size_t colon = m_moments.at.find(':');
    unsigned n = 0;
    if (colon == std::string::npos ||
        !boost::conversion::try_lexical_convert(m_moments.at.substr(colon + 1), n)) {
      throw std::invalid_argument("'" + m_moments.at + "' is not a call and a number");
    }
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

void Series::inject_at(const Point& point) {
  const boost::filesystem::path trace = m_subject.dir() / "trace";
  m_subject.restore();
  const Ended ended = m_subject.run(
      inject(point, m_fault.what, m_fault.from_then_on, m_moments.all_threads, trace));
  if (ended.signal == SIGKILL || was_injected(trace)) ++m_struck;
  Disturbance disturbance;
  disturbance.intent = m_fault.intent;
  disturbance.mutes = point.call == "write" && m_fault.from_then_on;
  disturbance.keeps_lock =
      point.call == "unlink" || (point.call == "fcntl" && m_fault.from_then_on);
  judge(ended, disturbance, " --at " + point.call + ":" + std::to_string(point.n));
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
    Disturbance disturbance;
    disturbance.intent = m_fault.intent;
    disturbance.signal = k_signals[m_random() % std::size(k_signals)];
    const bool to_all = m_random() % 2 == 0;
    const microseconds delay(any_time(m_random));
    const auto child = m_subject.start({});
    std::this_thread::sleep_for(delay);
    if (to_all) {
      child->send_to_group(disturbance.signal);
    } else {
      child->send(disturbance.signal);
    }
    const Ended ended = child->wait(k_longest_run_seconds);
    if (ended.exit_status != 0 || !ended.err.empty()) ++m_struck;
    judge(ended, disturbance,
          ", signal " + std::to_string(disturbance.signal) + (to_all ? " to all" : "") + " after " +
              std::to_string(delay.count()) + " us");
  }
}

void Series::judge(const Ended& ended, const Disturbance& disturbance, const std::string& moment) {
  ++m_runs;
  const std::string wrong = faults::judge(m_subject, m_undisturbed, ended, disturbance);
  if (wrong.empty()) return;
  ++m_failures;
  std::cout << "--task " << m_subject.task().name << " --fault " << m_fault.name << moment
            << m_moments.options << ": exit status " << ended.exit_status << "\n"
            << wrong << "  standard error: " << ended.err.substr(0, ended.err.find('\n'))
            << std::endl;
}

}  // namespace sandbox::faults
