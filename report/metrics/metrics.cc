#include "report/metrics/metrics.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

#include <boost/filesystem/operations.hpp>

#include "config/version.h"
#include "record/names.h"
#include "report/metrics/family.h"
#include "report/run_file.h"
#include "report/saved.h"
#include "report/storage_state.h"

namespace report {

namespace {

using record::DirCounts;
using Runs = std::vector<RunFile>;
using Families = std::vector<Family>;

constexpr const char* k_tasks[] = {"scan",     "repair",  "dry_run",
                                   "deletion", "restore", "restore_dry_run"};

std::string task_label(const std::string& task) {
  return "task=\"" + task + "\"";
}

bool is_of(const RunFile& file, const std::string& task) {
  const std::string name = record::name_of(record::k_task_names, file.run.task);
  return task == (file.is_restore_dry_run() ? "restore_dry_run" : name);
}

// The newest run of the task for which `holds` is true; null if there is none.
const RunFile* newest(const Runs& runs, const std::string& task,
                      const std::function<bool(const RunFile&)>& holds) {
  const auto run = std::find_if(runs.begin(), runs.end(), [&](const RunFile& file) {
    return is_of(file, task) && holds(file);
  });
  return run == runs.end() ? nullptr : &*run;
}

bool has_any(const RunFile& /*file*/) {
  return true;
}

// It looked at the storage, and its record has the totals.
bool has_totals(const RunFile& file) {
  return file.has_end() && !file.was_refused;
}

// One that skipped directories is no good check of the storage.
bool is_good(const RunFile& file) {
  return file.ended_well() && file.run.skipped_dirs == 0;
}

// What is known of each newest run, refused ones among them.
void add_endings(const Runs& runs, Families& families) {
  Family start("mdfixup_run_start_timestamp_seconds", "Start of the newest run of the task.");
  Family end("mdfixup_run_end_timestamp_seconds",
             "End of the newest run of the task, unless it was killed or still runs.");
  Family duration("mdfixup_run_duration_seconds", "Duration of the newest run of the task.");
  Family status("mdfixup_run_exit_status", "Exit status of the newest run of the task.");
  Family refused("mdfixup_run_refused",
                 "Whether the newest run of the task did not get to the storage.");
  Family success("mdfixup_run_last_success_timestamp_seconds",
                 "End of the newest run of the task with exit status 0 and without skipped "
                 "directories; 0 if there is none.");
  for (const char* task : k_tasks) {
    const std::string label = task_label(task);
    const RunFile* const run = newest(runs, task, has_any);
    const RunFile* const good = newest(runs, task, is_good);
    // An alert compares this with the time, also where the check never ran.
    success.add_nanoseconds(label, good == nullptr ? 0 : good->run.end_nanoseconds);
    if (run == nullptr) continue;
    start.add_nanoseconds(label, run->run.start_nanoseconds);
    refused.add(label, run->was_refused ? 1 : 0);
    if (!run->has_end()) continue;
    end.add_nanoseconds(label, run->run.end_nanoseconds);
    duration.add_nanoseconds(label, run->run.end_nanoseconds - run->run.start_nanoseconds);
    status.add(label, static_cast<std::uint64_t>(run->run.end.exit_status));
  }
  for (const Family& family : {start, end, duration, status, refused, success})
    families.push_back(family);
}

// A count of the newest runs of some tasks that looked at the storage.
struct TaskCount {
  const char* name;
  const char* help;
  std::vector<const char*> tasks;
  std::function<std::uint64_t(const RunFile&)> value;
};

std::function<std::uint64_t(const RunFile&)> count(std::uint64_t DirCounts::*member) {
  return [member](const RunFile& file) { return file.run.counts.*member; };
}

std::vector<TaskCount> task_counts() {
  const std::vector<const char*> all(std::begin(k_tasks), std::end(k_tasks));
  const std::vector<const char*> consistency{"dry_run", "deletion"};
  return {
      {"mdfixup_directories", "Policy directories of the newest run that looked at any.", all,
       [](const RunFile& file) { return file.run.dirs; }},
      {"mdfixup_failed_directories", "Policy directories that failed in it.", all,
       [](const RunFile& file) { return file.run.failed_dirs; }},
      {"mdfixup_directories_with_issues",
       "Policy directories with path objects under another spelling of the client.",
       {"scan"},
       [](const RunFile& file) {
         return record::RunReader(file.file).count("directory WHERE state IS NOT 'failed'");
       }},
      {"mdfixup_copies", "Image copies in the metadata.", consistency, count(&DirCounts::copies)},
      {"mdfixup_orphan_copies", "Image copies that the backup catalog does not have.", consistency,
       count(&DirCounts::orphan_copies)},
      {"mdfixup_missing_copies", "Image copies that only the backup catalog has.", consistency,
       count(&DirCounts::missing_copies)},
      {"mdfixup_taken_path_objects", "Path objects that the deletion took or would take.",
       consistency, count(&DirCounts::taken_pos)},
      {"mdfixup_taken_bytes", "Bytes of the path objects that the deletion took or would take.",
       consistency, count(&DirCounts::taken_bytes)},
      {"mdfixup_collisions",
       "Path objects that stayed because another one has their name.",
       {"repair", "restore", "restore_dry_run"},
       count(&DirCounts::collisions)},
  };
}

void add_counts(const Runs& runs, Families& families, std::vector<Fault>& faults) {
  for (const TaskCount& each : task_counts()) {
    Family family(each.name, each.help);
    for (const char* task : each.tasks) {
      const RunFile* const run = newest(runs, task, has_totals);
      if (run == nullptr) continue;
      try {
        family.add(task_label(task), each.value(*run));
      } catch (const std::exception& error) {
        faults.push_back(fault_of(run->file, error));
      }
    }
    families.push_back(family);
  }
}

void add_storage(const StorageState& storage, Families& families) {
  const auto add = [&](const char* name, const char* help, std::optional<bool> state) {
    Family family(name, help);
    if (state) family.add("", *state ? 1 : 0);
    families.push_back(family);
  };
  add("mdfixup_catalog_aside", "Whether a repair left the metadata tree aside.",
      storage.catalog_aside);
  add("mdfixup_stale_lock", "Whether a lock file that no run holds keeps all runs out.",
      storage.stale_lock);
}

// What mdfixup-undo could restore on the storage at `root`; without one, on all storages.
void add_saved(const Runs& runs, const std::string& root, Families& families,
               std::vector<Fault>& faults) {
  Saved sum;
  for (const RunFile& file : runs) {
    const bool is_undone = file.undone_by && file.undone_by->is_complete;
    const bool is_here = root.empty() || file.run.storage_root == root;
    if (file.run.undo != record::Undo::saved || is_undone || !is_here) continue;
    try {
      record::RunReader reader(file.file);
      const Saved saved = saved_of(reader);
      sum.pos += saved.pos + reader.count("moved");
      sum.bytes += saved.bytes;
    } catch (const std::exception& error) {
      faults.push_back(fault_of(file.file, error));
    }
  }
  Family rows("mdfixup_undo_path_objects",
              "Path objects that an undo could restore: deleted and saved, or moved. A run that "
              "was undone in part counts in full.");
  rows.add("", sum.pos);
  Family bytes("mdfixup_undo_bytes",
               "Bytes of the deleted path objects that an undo could restore.");
  bytes.add("", sum.bytes);
  families.push_back(rows);
  families.push_back(bytes);
}

void require_one_directory(const Texts& words) {
  if (words.empty()) return;
  boost::system::error_code error;
  if (words.size() == 1 && boost::filesystem::is_directory(words[0], error)) return;
  throw std::invalid_argument("--openmetrics takes one log directory at most, and no records");
}

}  // namespace

Metrics make_metrics(const Texts& words) {
  require_one_directory(words);
  Metrics metrics;
  const Runs runs = find_runs(words, metrics.faults);
  Family build("mdfixup_build_info", "The version of mdfixup that wrote this; always 1.");
  build.add(std::string("version=\"") + project_version() + "\"", 1);
  Families families{build};
  add_endings(runs, families);
  add_counts(runs, families, metrics.faults);
  const StorageState storage = state_of_storage(words, runs);
  add_storage(storage, families);
  add_saved(runs, storage.root, families, metrics.faults);
  Family unreadable("mdfixup_unreadable_records",
                    "Records of runs whose counts could not be read.");
  unreadable.add("", metrics.faults.size());
  families.push_back(unreadable);
  for (const Family& family : families) metrics.text += family.text();
  metrics.text += "# EOF\n";
  return metrics;
}

}  // namespace report
