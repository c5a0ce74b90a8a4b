#include "sandbox/faults/injection.h"

#include <algorithm>
#include <map>
#include <sstream>

#include <boost/filesystem/operations.hpp>

#include "platform/status.h"
#include "sandbox/text_file.h"

namespace fs = boost::filesystem;

namespace sandbox::faults {

namespace {

std::vector<std::string> strace(bool all_threads, const std::string& output) {
  std::vector<std::string> words{"strace", "-qq", "-o", output};
  if (all_threads) words.emplace_back("-f");
  return words;
}

// The most calls of each kind that one thread made. Lines are "call(…" or, with all threads, "pid
// call(…"; one that another thread's interrupts goes on in a later line that is not counted.
std::map<std::string, unsigned> count_calls(const std::string& trace) {
  std::map<std::string, std::map<std::string, unsigned>> counts;
  std::istringstream lines(trace);
  for (std::string line; std::getline(lines, line);) {
    const std::string head = line.substr(0, line.find('('));
    if (head.size() == line.size() || head.find('<') != std::string::npos) continue;
    const std::size_t begin = head.find_last_of(' ') + 1;
    ++counts[head.substr(begin)][head.substr(0, begin)];
  }
  std::map<std::string, unsigned> most;
  for (const auto& [call, by_thread] : counts) {
    for (const auto& [thread, count] : by_thread) most[call] = std::max(most[call], count);
  }
  return most;
}

}  // namespace

std::vector<Point> points_of(const Subject& subject, const std::string& calls, bool all_threads) {
  const fs::path trace = subject.dir() / "trace";
  std::vector<std::string> prefix = strace(all_threads, trace.string());
  prefix.insert(prefix.end(), {"-e", "trace=" + calls});
  subject.restore();
  const Ended ended = subject.run(prefix);
  const std::string text = read_text(trace);
  if (ended.exit_status != 0) {
    throw Cr_ErrnoException(EPERM, "strace cannot trace the program", ended.err);
  }
  std::vector<Point> points;
  for (const auto& [call, count] : count_calls(text)) {
    for (unsigned n = 1; n <= count + 1; ++n) points.push_back({call, n});
  }
  return points;
}

std::vector<std::string> inject(const Point& point, const std::string& what, bool from_then_on,
                                bool all_threads, const fs::path& trace) {
  std::vector<std::string> words = strace(all_threads, trace.string());
  words.insert(words.end(), {"-e", "trace=" + point.call, "-e",
                             "inject=" + point.call + ":" + what +
                                 ":when=" + std::to_string(point.n) + (from_then_on ? "+" : "")});
  return words;
}

bool was_injected(const fs::path& trace) {
  return read_text(trace).find("(INJECTED)") != std::string::npos;
}

}  // namespace sandbox::faults
