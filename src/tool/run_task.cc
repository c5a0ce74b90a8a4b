#include "tool/run_task.h"

#include <chrono>
#include <string>

#include "catalog/base_traverse_catalog.h"
#include "platform/run_log.h"
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
        ", missing copies " + std::to_string(counts.missing_copies) + ", seconds " +
        with_milliseconds(time));
  if (totals.dirs() == 0) WarningA("no policy directory was found in the catalog");
}

}  // namespace

bool run_task(catalog::BaseTraverseCatalog& task) {
  const auto start = std::chrono::steady_clock::now();
  const bool traversed = task.traverse();
  task.summarize_impl();
  log_totals(task.totals(), std::chrono::steady_clock::now() - start);
  if (util::interrupted()) InfoA("the run was interrupted by a signal");
  return traversed && !util::interrupted();
}
