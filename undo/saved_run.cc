#include "undo/saved_run.h"

#include <algorithm>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

#include "dct/report_error.h"
#include "record/schema.h"
#include "report/escape.h"
#include "tool/option_table.h"

namespace undo {

namespace {

using record::RunReader;
using report::RunFile;

// The saved POs of a directory are numbered from 1, so the highest number is their count. Finding it is
// faster than a pass over all rows.
std::uint64_t count_saved(RunReader& reader) {
  const std::string each = std::to_string(record::k_saved_of_directory);
  std::uint64_t count = 0;
  reader.rows("SELECT sum((SELECT max(id) - d.id * " + each + " FROM saved WHERE id > d.id * " +
                  each + " AND id < (d.id + 1) * " + each + ")) FROM directory d",
              [&](const RunReader::Row& row) { count = row.count(0); });
  return count;
}

SavedRun saved_run(const RunFile& file) {
  SavedRun run;
  run.file = file;
  RunReader reader(file.file);
  run.pos = count_saved(reader);
  run.moves = reader.count("moved");
  run.links = reader.count("link");
  return run;
}

void complain(const report::Fault& fault) {
  dct::report_error(progname + ": " + report::printable(fault.path) + ": " +
                    report::printable(fault.text) + "\n");
}

}  // namespace

std::vector<SavedRun> list_saved_runs(bool& is_complete) {
  std::vector<report::Fault> faults;
  const std::vector<RunFile> all = report::find_runs({}, faults);
  const std::string root = report::configured_root();
  std::vector<SavedRun> runs;
  for (const RunFile& file : all) {
    if (file.run.undo != record::Undo::saved || file.run.storage_root != root) continue;
    try {
      SavedRun run = saved_run(file);
      if (run.has_something()) runs.push_back(std::move(run));
    } catch (const std::exception& error) {
      faults.push_back(report::fault_of(file.file, error));
    }
  }
  for (const report::Fault& fault : faults) complain(fault);
  is_complete = faults.empty();
  return runs;
}

// Faults of other records are ignored: they do not affect this run.
std::optional<SavedRun> find_saved_run(const std::string& word) {
  std::vector<report::Fault> faults;
  const std::vector<RunFile> all = report::find_runs({word}, faults);
  for (const RunFile& file : all) {
    if (file.was_named) return saved_run(file);
  }
  const auto fault = std::find_if(faults.begin(), faults.end(), [&](const report::Fault& each) {
    using boost::algorithm::ends_with;
    const bool is_it = ends_with(each.path, word) || ends_with(each.path, word + ".db");
    return is_it && boost::filesystem::exists(each.path);
  });
  complain(fault != faults.end()
               ? *fault
               : report::Fault{word, "is no record of a run, and no run has this id"});
  return std::nullopt;
}

std::string why_not(const SavedRun& run) {
  using record::Task;
  if (run.file.run.undo == record::Undo::off) return "it ran with --no_undo and saved nothing";
  if (run.file.run.undo == record::Undo::forgotten)
    return "what it had saved was removed by forget";
  switch (run.file.run.task) {
    case Task::scan:
    case Task::dry_run:
      return "it changed nothing";
    case Task::restore:
      return "it is a restore itself";
    default:
      return "it has saved nothing";
  }
}

}  // namespace undo
