#include "report/wording.h"

#include <time.h>

#include <algorithm>
#include <array>
#include <cctype>

#include <boost/format.hpp>

namespace report {

const char* const k_no_concern = "The logs name nothing to look at first.";
const char* const k_no_concern_caveat =
    "That does not prove the list right: a wrong disk pool or an incomplete listing leaves no "
    "trace "
    "in them.";

std::string name_of(Task task) {
  switch (task) {
    case Task::scan:
      return "case scan";
    case Task::repair:
      return "case repair";
    case Task::dry_run:
      return "dry run";
    case Task::deletion:
      return "deletion";
    case Task::consistency:
      return "dry run or deletion";
    case Task::unknown:
      break;
  }
  return "no task";
}

std::string ending_of(const Run& run) {
  if (!run.exit_status) return "no end logged: killed, still running, or the log is cut";
  const std::string interrupted = run.interrupted ? ", stopped by a signal" : "";
  if (*run.exit_status == 0) return "ended well" + interrupted;
  const std::string status = " (exit status " + std::to_string(*run.exit_status) + ")";
  return (run.summary ? "failed" : "refused or aborted") + status + interrupted;
}

std::string title_of(const Run& run) {
  return capitalized(name_of(run.task)) + " of " + to_the_second(run.start);
}

std::string title_of(const Details& details) {
  if (!details.run) return capitalized(name_of(details.task)) + " of " + utc(details.time) + " UTC";
  return title_of(*details.run);
}

std::string to_the_second(const std::string& logged_time) {
  constexpr std::size_t k_length = 19;
  return logged_time.substr(0, k_length);
}

std::string capitalized(std::string text) {
  if (!text.empty()) text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  return text;
}

std::string outcome_of(const Run& run) {
  if (!run.summary) return run.progress;
  const Summary& summary = *run.summary;
  const bool deleted = run.task == Task::deletion;
  const struct {
    std::uint64_t count;
    const char* one;
    const char* many;
  } counts[] = {{summary.failed_dirs, "failed", "failed"},
                {summary.orphan_copies, "orphan copy", "orphan copies"},
                {summary.missing_copies, "missing copy", "missing copies"},
                {summary.taken_pos, deleted ? "PO deleted" : "PO would go",
                 deleted ? "POs deleted" : "POs would go"},
                {summary.other_copies_pos, "of another copy", "of other copies"},
                {summary.moved_pos, "PO moved", "POs moved"},
                {summary.collisions, "collision", "collisions"}};
  std::string text = counted(summary.dirs, "directory", "directories");
  for (const auto& [count, one, many] : counts) {
    if (count != 0) text += ", " + counted(count, one, many);
  }
  return text;
}

std::string fault_of(const SourceFile& file) {
  std::string text = file.error;
  const auto add = [&](const std::string& more) { text += (text.empty() ? "" : "; ") + more; };
  if (file.strange != 0) {
    add(with_commas(file.strange) + " lines could not be understood, the first is line " +
        with_commas(file.first_strange));
  }
  if (file.cut) add("the last line is cut off");
  return text;
}

std::string with_commas(std::uint64_t count) {
  constexpr std::size_t k_group = 3;
  std::string digits = std::to_string(count);
  for (std::size_t at = digits.size(); at > k_group;) digits.insert(at -= k_group, ",");
  return digits;
}

std::string counted(std::uint64_t count, const char* one, const char* many) {
  return with_commas(count) + " " + (count == 1 ? one : many);
}

std::string utc(std::int64_t time) {
  std::array<char, 64> text{};
  struct tm parts {};
  const time_t seconds = time;
  if (::gmtime_r(&seconds, &parts) == nullptr) return std::to_string(time) + " s";
  const std::size_t length = ::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &parts);
  return std::string(text.data(), length);
}

std::string percent(const std::optional<double>& share) {
  if (!share) return "?";
  constexpr double k_hundred = 100;
  constexpr double k_least = 0.1;
  const double value = *share * k_hundred;
  if (value <= 0 || value >= k_hundred) return value <= 0 ? "0 %" : "100 %";
  return (boost::format("%.1f %%") % std::min(k_hundred - k_least, std::max(k_least, value))).str();
}

}  // namespace report
