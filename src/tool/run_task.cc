#include "tool/run_task.h"

#include <chrono>
#include <exception>
#include <string>

#include "catalog/base_traverse_catalog.h"
#include "platform/run_log.h"
#include "tool/progress.h"
#include "util/interrupt.h"

namespace {

std::string with_milliseconds(std::chrono::steady_clock::duration time) {
  constexpr std::size_t k_decimals = 3;
  const auto count = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
  std::string digits = std::to_string(count);
  if (digits.size() <= k_decimals) digits.insert(0, k_decimals + 1 - digits.size(), '0');
  return digits.insert(digits.size() - k_decimals, ".");
}

void log_totals(const catalog::RunTotals& totals, std::chrono::steady_clock::duration time) {
  const catalog::DirCounts counts = totals.counts();
  InfoA("summary: policy directories " + std::to_string(totals.dirs()) + ", failed " +
        std::to_string(totals.failed_dirs()) + ", POs " + std::to_string(counts.pos) + ", copies " +
        std::to_string(counts.copies) + ", orphan copies " + std::to_string(counts.orphan_copies) +
        ", missing copies " + std::to_string(counts.missing_copies) + ", POs taken " +
        std::to_string(counts.taken_pos) + ", of other copies " +
        std::to_string(counts.other_copies_pos) + ", POs moved " +
        std::to_string(counts.moved_pos) + ", collisions " + std::to_string(counts.collisions) +
        ", seconds " + with_milliseconds(time));
  if (totals.dirs() == 0) WarningA("no policy directory was found in the catalog");
  if (counts.other_copies_pos != 0) {
    WarningA("the deletion takes POs of other copies than those named; the task's log lists them");
  }
  if (counts.copies != 0 && counts.orphan_copies == counts.copies) {
    WarningA(
        "the backup catalog has none of the copies in the metadata: is it the right disk pool?");
  }
}

// Logs the counts when it goes out of scope: a run that throws has done some work too.
class TotalsLogger {
 public:
  explicit TotalsLogger(const catalog::RunTotals& totals) : m_totals(totals) {}
  TotalsLogger(const TotalsLogger&) = delete;
  TotalsLogger& operator=(const TotalsLogger&) = delete;
  ~TotalsLogger() {
    try {
      log_totals(m_totals, std::chrono::steady_clock::now() - m_start);
    } catch (const std::exception&) {
      // Without memory for a line of the log, what ended the run is still told.
    }
  }

 private:
  const catalog::RunTotals& m_totals;
  const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

}  // namespace

bool run_task(catalog::BaseTraverseCatalog& task, Summary summary) {
  const TotalsLogger logger(task.totals());
  constexpr ProgressIntervals k_intervals{std::chrono::seconds(1), std::chrono::minutes(1)};
  Progress progress(task, k_intervals);
  const bool traversed = task.traverse();
  progress.traversal_is_over();
  if (traversed || summary == Summary::always) task.summarize_impl();
  if (util::interrupted()) InfoA("the run was interrupted by a signal");
  // What a task that is through has to say is no part of its success.
  if (summary == Summary::after_success) return traversed;
  return traversed && !util::interrupted();
}
