#include "report/concerns.h"

#include <iomanip>
#include <optional>
#include <sstream>

#include "report/wording.h"

namespace report {

namespace {

using About = Concern::About;

// The value of an option as the run log has it, the last one given; none when it was not given. An
// argument that holds blanks stands in quotes.
std::optional<std::string> option(const std::string& arguments, const std::string& name) {
  std::optional<std::string> value;
  std::istringstream words(arguments);
  for (std::string word; words >> std::quoted(word);) {
    if (word == name) {
      value.emplace();
    } else if (value && value->empty()) {
      value = word;
    } else if (word.rfind(name + "=", 0) == 0) {
      value = word.substr(name.size() + 1);
    }
  }
  return value;
}

void add_options(const std::string& arguments, std::vector<Concern>& concerns) {
  const auto horizon = option(arguments, "--catalog_backup_time");
  if (horizon && horizon->find_first_not_of('0') != std::string::npos) {
    concerns.push_back({About::options,
                        "--catalog_backup_time is not 0: images older than that were not listed, "
                        "and count as orphans though the backup catalog may have them"});
  }
  if (option(arguments, "--FORCE_CONSISTENCY_ALL_IMAGE")) {
    concerns.push_back({About::options,
                        "--FORCE_CONSISTENCY_ALL_IMAGE: nobody looked for images that wait to be "
                        "imported, and those count as orphans"});
  }
}

void add_run(const Details& details, std::vector<Concern>& concerns) {
  if (!details.run) {
    concerns.push_back({About::run,
                        "the run log does not tell of this run: how it ended, its options and its "
                        "warnings are not known"});
    return;
  }
  const Run& run = *details.run;
  if (!run.ended_well()) concerns.push_back({About::run, "ending: " + ending_of(run)});
  if (!run.catalog_aside.empty()) {
    concerns.push_back({About::run, "the catalog lies aside, at " + run.catalog_aside +
                                        ": start no service before it has its name back, and run "
                                        "the repair again"});
  }
  for (const std::string& later : details.later_runs) concerns.push_back({About::run, later});
  if (run.warnings.count != 0) {
    std::string text = counted(run.warnings.count, "warning", "warnings") + " in the run log";
    const Notes& warnings = run.warnings;
    if (!warnings.first.empty() && warnings.first.front() != run.clock_warning) {
      text += (run.warnings.count == 1 ? ": " : ", the first: ") + run.warnings.first.front();
    }
    concerns.push_back({About::warnings, text});
  }
}

void add_failures(const Details& details, std::vector<Concern>& concerns) {
  if (details.failed.count != 0) {
    concerns.push_back({About::failed, counted(details.failed.count, "directory", "directories") +
                                           " failed: not all of what is there was seen"});
  }
  if (details.errors.count != 0) {
    concerns.push_back({About::errors, counted(details.errors.count, "error", "errors") +
                                           " in the log of the task"});
  }
}

bool nothing_was_found(const Details& details) {
  if (!details.run || !details.run->summary) return false;
  const Summary& summary = *details.run->summary;
  return summary.copies != 0 && summary.orphan_copies == summary.copies;
}

// A clean-up of what expired takes a few copies; a mistake takes many.
void add_share(const ConsistencyDetails& details, std::vector<Concern>& concerns) {
  constexpr double k_worrying = 0.2;
  if (!details.run || !details.run->summary || details.run->summary->copies == 0) return;
  if (nothing_was_found(details)) return;
  const Summary& summary = *details.run->summary;
  const double share =
      static_cast<double>(summary.orphan_copies) / static_cast<double>(summary.copies);
  if (share < k_worrying) return;
  concerns.push_back({About::share, percent(share) + " of all copies are orphans: " +
                                        with_commas(summary.orphan_copies) + " of " +
                                        with_commas(summary.copies)});
}

// A log that lists fewer than the run counted was cut, or not all of it could be read.
void add_counts(const ConsistencyDetails& details, std::vector<Concern>& concerns) {
  if (!details.run || !details.run->summary) return;
  const Summary& summary = *details.run->summary;
  const auto compare = [&](std::uint64_t run, std::uint64_t logs, const char* what) {
    if (run == logs) return;
    concerns.push_back({About::counts, "the run counted " + with_commas(run) + " " + what +
                                           ", its logs list " + with_commas(logs)});
  };
  if (details.orphans_were_read) {
    compare(summary.orphan_copies, details.orphans.copies, "orphan copies");
    compare(summary.taken_pos, details.orphans.taken_pos, "POs taken");
  }
  if (details.missing_were_read) {
    compare(summary.missing_copies, details.missing.copies, "missing copies");
  }
}

}  // namespace

std::vector<Concern> concerns_of(const ScanDetails& details) {
  std::vector<Concern> concerns;
  add_run(details, concerns);
  add_failures(details, concerns);
  return concerns;
}

std::vector<Concern> concerns_of(const RepairDetails& details) {
  std::vector<Concern> concerns;
  add_run(details, concerns);
  add_failures(details, concerns);
  if (details.collisions.count != 0) {
    concerns.push_back({About::collisions,
                        counted(details.collisions.count, "PO", "POs") +
                            " stayed because of another one: settle that before a deletion, which "
                            "may take them"});
  }
  return concerns;
}

std::vector<Concern> concerns_of(const ConsistencyDetails& details) {
  const bool gone = details.task == Task::deletion;
  std::vector<Concern> concerns;
  if (details.run && !details.run->clock_warning.empty()) {
    concerns.push_back({About::warnings, details.run->clock_warning});
  }
  if (nothing_was_found(details)) {
    concerns.push_back(
        {About::run, "not one copy was found in the backup catalog: is it the right disk pool?"});
  }
  add_share(details, concerns);
  add_run(details, concerns);
  if (details.run) add_options(details.run->arguments, concerns);
  if (const std::uint64_t count = details.orphans.groups_losing_everything; count != 0) {
    concerns.push_back({About::whole_dirs, counted(count, "directory", "directories") +
                                               (gone ? " lost" : " would lose") + " every copy"});
  }
  if (const std::uint64_t count = details.orphans.other_copies_pos; count != 0) {
    concerns.push_back({About::other_copies, counted(count, "PO", "POs") + " of other copies " +
                                                 (gone ? "went" : "would go") +
                                                 " with the orphans"});
  }
  add_failures(details, concerns);
  if (const std::uint64_t count = details.unparsed_names.count; count != 0) {
    concerns.push_back(
        {About::names, counted(count, "PO was", "POs were") +
                           " left out of the comparison, mostly for another spelling of the "
                           "client's name: scan and repair first"});
  }
  add_counts(details, concerns);
  return concerns;
}

}  // namespace report
