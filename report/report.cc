#include "report/report.h"

#include <algorithm>
#include <functional>
#include <set>
#include <utility>

#include "report/run_file.h"
#include "report/sections.h"

namespace report {

namespace {

using record::Task;

// Those in detail, dry runs and deletions first.
std::vector<const RunFile*> in_detail(const std::vector<RunFile>& runs) {
  const bool any_named =
      std::any_of(runs.begin(), runs.end(), [](const RunFile& run) { return run.was_named; });
  std::set<std::pair<std::string, std::string>> known;
  std::vector<const RunFile*> chosen;
  for (const RunFile& run : runs) {
    const bool is_newest = !any_named && !run.was_refused && run.run.task != Task::none &&
                           known.emplace(run.dir, task_of(run)).second;
    if (run.was_named || is_newest) chosen.push_back(&run);
  }
  std::stable_partition(chosen.begin(), chosen.end(), std::mem_fn(&RunFile::lists_orphans));
  return chosen;
}

}  // namespace

Report make_report(const Request& request) {
  Report report;
  report.scope = request.scope;
  const std::vector<RunFile> runs = find_runs(request.words, report.faults);
  report.runs = table_of(runs);
  std::vector<const RunFile*> chosen;
  if (request.scope != Scope::runs) chosen = in_detail(runs);
  for (const RunFile* run : chosen) {
    try {
      if (request.scope == Scope::all) {
        report.sections.push_back(section_of(*run, runs, request.most_rows));
      } else if (run->lists_orphans()) {
        report.images.push_back(images_of(*run));
      }
    } catch (const std::exception& error) {
      report.faults.push_back(fault_of(run->file, error));
    }
  }
  for (const RunFile& run : runs) {
    if (std::count(chosen.begin(), chosen.end(), &run) != 0) continue;
    if (!run.ended_well()) ++report.other_runs_failed;
    if (run.warnings != 0) ++report.other_runs_warned;
  }
  return report;
}

}  // namespace report
