#include <algorithm>
#include <stdexcept>

#include "report/fleet/extract.h"
#include "report/fleet/host.h"
#include "report/wording.h"

namespace report::fleet {

namespace {

using Columns = std::vector<Column>;

const Column k_client{"client", "Client"};
const Column k_policy{"policy", "Policy"};

const Columns& orphan_columns() {
  static const Columns columns{k_client,
                               k_policy,
                               {"copies", "Orphan copies", Kind::number, true},
                               {"dir_copies", "Copies there", Kind::number, true},
                               {"share", "Share", Kind::share},
                               {"newest_backup_time", "Newest, UTC", Kind::time},
                               {"bytes", "Bytes", Kind::number, true}};
  return columns;
}

const Columns& client_columns() {
  static const Columns columns{k_client, {"directories", "Policy directories", Kind::number, true}};
  return columns;
}

const Columns& failed_columns() {
  static const Columns columns{{"directory", "Directory", Kind::verbatim}, {"reason", "Reason"}};
  return columns;
}

bool is_of_kind(const Value& value, Kind kind) {
  if (kind == Kind::share) return value.is_number() && value >= 0 && value <= 1;
  if (kind == Kind::number) return value.is_number_unsigned();
  return kind == Kind::time ? value.is_number_integer() : value.is_string();
}

Row row_of(const Value& object, const Columns& columns) {
  Row row;
  for (const Column& column : columns) {
    const Value& value = part(object, column.key);
    row.facts.push_back({column, is_of_kind(value, column.kind) ? value : Value()});
  }
  if (truth(object, "loses_everything").value_or(false)) {
    row.mark = "all";
    row.tag = "would lose everything";
  }
  return row;
}

// The rows that were kept of a section's table.
Table table_of(const Value& section, const char* key, const std::string& caption,
               const Columns& columns) {
  std::vector<Row> rows;
  for (const Value& row : part(section, key)) rows.push_back(row_of(row, columns));
  const std::uint64_t length = length_of(section, key);
  const bool is_cut = length > rows.size();
  return {key,
          caption + (is_cut ? ", the first " + std::to_string(rows.size()) + " of " +
                                  with_commas(length) + "; the host's report has all"
                            : ""),
          rows.size(), rows_of(rows, [](const Row& row) { return row; })};
}

// The first run of a task; null if there is none.
const Value& first_of(const Value& list, const char* run_key, const std::string& task) {
  static const Value k_none;
  for (const Value& each : list) {
    const Value& run = run_key == nullptr ? each : part(each, run_key);
    if (text(run, "task") == task) return each;
  }
  return k_none;
}

Texts texts_of(const Value& list) {
  Texts texts;
  for (const Value& each : list) {
    if (each.is_string()) texts.push_back(each.get<std::string>());
  }
  return texts;
}

TaskRuns runs_of(const Value& report, const std::string& task) {
  TaskRuns runs;
  const Value& section = first_of(part(report, "details"), "run", task);
  runs.attempt = first_of(part(report, "runs"), nullptr, task);
  runs.run = part(section, "run");
  // Newer runs of other tasks may have left no room for it.
  if (runs.attempt.is_null()) runs.attempt = runs.run;
  runs.listed = part(section, "listed");
  runs.concerns = texts_of(part(section, "concerns"));
  runs.findings = task == "scan"
                      ? table_of(section, "clients", "Clients with POs under another spelling",
                                 client_columns())
                      : table_of(section, "orphans", "Orphan copies", orphan_columns());
  runs.failed_dirs =
      table_of(section, "failed_directories", "Failed directories", failed_columns());
  return runs;
}

// A run that was killed may have; one that ended without a directory was refused.
bool changed_storage(const Value& run) {
  const std::string task = text(run, "task");
  const Texts arguments = texts_of(part(run, "arguments"));
  const bool is_dry = std::count(arguments.begin(), arguments.end(), "--dry_run") != 0;
  if (part(run, "exit_status").is_number() && count(run, "dirs") == 0) return false;
  return task == "repair" || task == "deletion" || (task == "restore" && !is_dry);
}

// Of the runs, newest first, and of those in detail, for which newer ones may have left no room.
Value newest_change(const Value& object) {
  Value newest = unknown();
  const auto take = [&](const Value& run) {
    if (changed_storage(run) && number(run, "start_time") > number(newest, "start_time"))
      newest = run;
  };
  for (const Value& run : part(object, "runs")) take(run);
  for (const Value& section : part(object, "details")) take(part(section, "run"));
  return newest;
}

bool repaired_since(const Value& scan, const Value& runs) {
  return std::any_of(runs.begin(), runs.end(), [&](const Value& run) {
    return text(run, "task") == "repair" && changed_storage(run) &&
           number(run, "start_time") > number(scan, "start_time");
  });
}

std::string what_it_lacks(const Value& object) {
  const Value& unreadable = part(object, "unreadable");
  if (truth(object, "whole").value_or(false) && unreadable.empty()) return "";
  if (!unreadable.is_array() || unreadable.empty()) return "it is not whole";
  return text(unreadable.front(), "path") + ": " + text(unreadable.front(), "fault");
}

// Without a look at the storage: a repair that left the tree aside, and no good run since.
std::optional<bool> aside_by_runs(const Value& runs) {
  for (const Value& run : runs) {
    if (!text(run, "catalog_aside").empty()) return true;
    if (number(run, "exit_status") == 0 && number(run, "dirs").value_or(0) != 0) return false;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::int64_t> TaskRuns::good_end() const {
  return number(attempt, "exit_status") == 0 ? number(attempt, "end_time") : std::nullopt;
}

HostReport host_report(const Value& object) {
  if (text(object, "schema") != k_run_naming.schema) {
    throw std::runtime_error("not printed by mdfixup-report --json");
  }
  if (number(object, "version") != k_run_naming.version) {
    throw std::runtime_error("of a version that this program does not know");
  }
  HostReport report;
  const Value& runs = part(object, "runs");
  if (runs.is_array() && !runs.empty()) report.newest = runs.front();
  report.changed = newest_change(object);
  report.scan = runs_of(object, "scan");
  report.repaired = repaired_since(report.scan.attempt, runs);
  report.dry_run = runs_of(object, "dry_run");
  report.time = number(object, "time");
  const Value& storage = part(object, "storage");
  report.catalog_aside = truth(storage, "catalog_aside");
  if (!report.catalog_aside) report.catalog_aside = aside_by_runs(runs);
  report.stale_lock = truth(storage, "stale_lock");
  report.lacks = what_it_lacks(object);
  return report;
}

bool is_of_playbook(const Value& object) {
  return text(object, "schema") == "mdfixup-host";
}

Reached reached(const Value& object) {
  if (!is_of_playbook(object)) throw std::runtime_error("not written by the playbook");
  if (number(object, "version") != 1)
    throw std::runtime_error("of a version that this program does not know");
  return {text(object, "state"), text(object, "text"), number(object, "time")};
}

}  // namespace report::fleet
