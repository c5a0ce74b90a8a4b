#include "report/report.h"

#include <time.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <set>
#include <stdexcept>
#include <utility>

#include <boost/filesystem/operations.hpp>

#include "report/comparison.h"
#include "report/escape.h"
#include "report/run_file.h"
#include "report/sections.h"
#include "report/storage_state.h"
#include "report/wording.h"

namespace fs = boost::filesystem;

namespace report {

namespace {

using record::Task;

// Chooses the runs to show in detail, dry runs and deletions first.
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

// The run that a word other than a directory names; null if it could not be read.
const RunFile* named(const std::vector<RunFile>& runs, const std::string& word) {
  const auto is_meant = [&](const RunFile& run) {
    boost::system::error_code error;
    return run.was_named && (run.id == word || fs::equivalent(run.file, word, error));
  };
  const auto count = std::count_if(runs.begin(), runs.end(), is_meant);
  if (count > 1)
    throw std::invalid_argument("several runs have the id " + word + ": name the file");
  return count == 0 ? nullptr : &*std::find_if(runs.begin(), runs.end(), is_meant);
}

void require_orphans(const RunFile& run) {
  if (run.lists_orphans()) return;
  throw std::invalid_argument("--compare takes dry runs: " + printable(run.id) + " (" +
                              name_of(run.run.task) + ") lists no orphans");
}

Report make_comparison(const Request& request) {
  Texts words;
  std::remove_copy_if(request.words.begin(), request.words.end(), std::back_inserter(words),
                      [](const std::string& word) {
                        boost::system::error_code error;
                        return fs::is_directory(word, error);
                      });
  if (words.size() != 2) throw std::invalid_argument("--compare takes two records, OLD and NEW");
  Report report;
  const std::vector<RunFile> runs = find_runs(request.words, report.faults);
  report.overview = table_of(runs);
  report.summary = counted(runs.size(), "run", "runs") + " on record.";
  const RunFile* const old_run = named(runs, words[0]);
  const RunFile* const new_run = named(runs, words[1]);
  for (const RunFile* const run : {old_run, new_run}) {
    if (run != nullptr) require_orphans(*run);
  }
  if (old_run == nullptr || new_run == nullptr) return report;  // with the fault
  try {
    report.sections.push_back(section_of(*old_run, *new_run, runs));
  } catch (const std::exception& error) {
    const bool is_old = std::string(error.what()).find(old_run->file) != std::string::npos;
    report.faults.push_back(fault_of((is_old ? old_run : new_run)->file, error));
  }
  return report;
}

Value head_of(const Request& request, const std::vector<RunFile>& runs) {
  const StorageState state = state_of_storage(request.words, runs);
  const auto known = [](std::optional<bool> value) {
    return null_unless(value.has_value(), value.value_or(false));
  };
  return {
      {"time", ::time(nullptr)},
      {"storage",
       {{"catalog_aside", known(state.catalog_aside)}, {"stale_lock", known(state.stale_lock)}}}};
}

}  // namespace

Report make_report(const Request& request) {
  if (request.is_comparison) return make_comparison(request);
  Report report;
  report.scope = request.scope;
  const std::vector<RunFile> runs = find_runs(request.words, report.faults);
  report.head = head_of(request, runs);
  report.overview = table_of(runs);
  report.summary = counted(runs.size(), "run", "runs") + " on record.";
  std::vector<const RunFile*> chosen;
  if (request.scope != Scope::runs) chosen = in_detail(runs);
  for (const RunFile* run : chosen) {
    try {
      if (request.scope == Scope::all) {
        report.sections.push_back(section_of(*run, runs, request.max_rows));
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
