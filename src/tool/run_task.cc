#include "tool/run_task.h"

#include <chrono>
#include <exception>
#include <string>

#include <boost/format.hpp>
#include <boost/scope_exit.hpp>

#include "catalog/messages/messages.h"
#include "catalog/walk/base_traverse_catalog.h"
#include "console/run_log.h"
#include "console/standard_streams.h"
#include "signals/interrupt.h"
#include "tool/progress.h"

namespace {

std::string with_milliseconds(std::chrono::steady_clock::duration time) {
  const auto whole = std::chrono::duration_cast<std::chrono::milliseconds>(time);
  return (boost::format("%.3f") % std::chrono::duration<double>(whole).count()).str();
}

using Duration = std::chrono::steady_clock::duration;

void log_summary(const catalog::RunTotals& totals, Duration time) {
  InfoA("summary: policy directories " + std::to_string(totals.dirs()) + ", failed " +
        std::to_string(totals.failed_dirs()) + record::summary_of(totals.counts()) + ", seconds " +
        with_milliseconds(time));
}

void log_warnings(const catalog::BaseTraverseCatalog& task) {
  const record::DirCounts counts = task.totals().counts();
  if (task.reached_end() && task.totals().dirs() == 0 && !task.number_of_dirs()) {
    WarningA(task.totals().skipped_dirs() == 0 ? "no policy directory was found in the catalog"
                                               : "all policy directories were skipped");
  }
  if (counts.other_copies_pos != 0) {
    WarningA("the deletion takes POs of other copies than those named; the task's log lists them");
  }
  if (counts.copies != 0 && counts.orphan_copies == counts.copies) {
    WarningA(
        "the backup catalog has none of the copies in the metadata: is it the right disk pool?");
  }
  if (counts.future_copies != 0) {
    WarningA(std::to_string(counts.future_copies) + " of " + std::to_string(counts.copies) +
             " copies are newer than this host's clock by more than a day: is the clock right?");
  }
}

// The last lines on the terminal, after the progress.
void show_totals(const catalog::BaseTraverseCatalog& task, Duration time) {
  const std::string findings = task.findings();
  console::write_terminal("Total: " + std::to_string(task.totals().done_dirs()) +
                          " policy directories, " + std::to_string(task.totals().failed_dirs()) +
                          " failed" + (findings.empty() ? "" : ", " + findings) + ", " +
                          with_milliseconds(time) + " s" +
                          (util::interrupted() ? "; interrupted" : "") + "\n");
  for (const std::string& line : task.closing_lines()) console::write_terminal(line + "\n");
}

void report_totals(const catalog::BaseTraverseCatalog& task, Duration time) noexcept {
  try {
    log_summary(task.totals(), time);
    catalog::store_totals(task.totals());
    for (const std::string& line : task.closing_lines()) InfoA(line);
    log_warnings(task);
    show_totals(task, time);
  } catch (const std::exception&) {
    // Lack of memory for these lines must not hide the error that ended the run.
  }
}

}  // namespace

bool run_task(catalog::BaseTraverseCatalog& task, Summary summary) {
  const auto start = std::chrono::steady_clock::now();
  // Also if the task throws: it has done some work by then.
  BOOST_SCOPE_EXIT_ALL(&) {
    report_totals(task, std::chrono::steady_clock::now() - start);
  };
  constexpr ProgressIntervals k_intervals{std::chrono::seconds(1), std::chrono::minutes(1)};
  Progress progress(task, k_intervals);
  const bool traversed = task.traverse();
  progress.traversal_is_over();
  if (traversed || summary == Summary::always) task.summarize_impl();
  if (util::interrupted()) InfoA("the run was interrupted by a signal");
  // The summary does not affect the result.
  if (summary == Summary::after_success) return traversed;
  return traversed && !util::interrupted();
}
