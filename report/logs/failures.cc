#include "report/logs/failures.h"

#include <algorithm>
#include <string>

#include "report/logs/scanner.h"

namespace report::logs {

void add_failure(FailedDirs& failed, std::string_view text, std::string_view status) {
  ++failed.count;
  if (failed.first.size() == k_most_failures) return;
  const std::size_t end = text.find("; ");
  FailedDir dir{shortened(text.substr(0, end)), shortened(status)};
  if (end != std::string_view::npos) {
    const std::string_view reason = text.substr(end + 2);
    const bool has_status = status.empty() || reason.substr(0, 6) == "ERROR ";
    dir.reason = (has_status ? "" : shortened(status) + "; ") + shortened(reason);
  }
  failed.first.push_back(std::move(dir));
}

void continue_failure(FailedDirs& failed, std::string_view line) {
  constexpr std::size_t k_longest = 4096;
  if (failed.first.empty() || failed.first.size() < failed.count) return;
  std::string& reason = failed.first.back().reason;
  if (reason.size() < k_longest) reason += "\n" + shortened(line);
}

bool is_opening_line(std::string_view line) {
  constexpr std::string_view k_beginnings[] = {
      "Number of threads: ", "Deduplication metadata dir: ", "Skip DSID: ", "Invalid DSID: "};
  return std::any_of(std::begin(k_beginnings), std::end(k_beginnings),
                     [&](std::string_view beginning) { return take_prefix(line, beginning); });
}

}  // namespace report::logs
