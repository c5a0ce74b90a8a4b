#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "record/run_reader.h"
#include "report/model.h"

namespace report {

constexpr std::int64_t k_second_nanoseconds = 1000000000;
constexpr std::uint64_t k_max_messages = 10;

// A restore that put back what a run had changed.
struct UndoneBy {
  std::string id;
  bool is_complete = false;  // it ended well and restored all clients and policies
};

// A run as a whole, from its record.
struct RunFile {
  std::string file;
  std::string id;          // the name of the file without ".db"
  std::string dir;         // runs of different directories are unrelated
  bool was_named = false;  // otherwise it was found in a directory
  record::Run run;
  std::uint64_t bytes = 0;  // of the file and its write-ahead log
  std::uint64_t warnings = 0;
  std::uint64_t errors = 0;
  Texts messages;  // the first errors, then the first warnings, at most k_max_messages of each
  // It changed nothing: it was rejected, or failed before its first directory.
  bool was_refused = false;
  std::optional<UndoneBy> undone_by;  // a complete one if there is one, else the newest

  std::int64_t start() const { return run.start_nanoseconds / k_second_nanoseconds; }
  bool has_end() const { return run.end.ending != record::Ending::none; }
  bool ended_well() const {
    return run.end.ending == record::Ending::orderly && run.end.exit_status == 0;
  }
  // Requires that there is a warning.
  const std::string& first_warning() const { return messages.at(std::min(errors, k_max_messages)); }
  bool changes_storage() const;
  bool is_deletion() const { return run.task == record::Task::deletion; }
  bool is_restore() const { return run.task == record::Task::restore; }
  bool is_restore_dry_run() const;
  bool lists_orphans() const { return is_deletion() || run.task == record::Task::dry_run; }
};

// The root of the configured storage.
// Errors: those of the configuration.
std::string configured_root();

// Whether records have a row for each counted item.
bool is_listed(const record::Count& count);
// Whether only the run's total is recorded, without rows.
bool is_run_total(const record::Count& count);

// The last value given for an option of the run; none if it was not given.
std::optional<std::string> option(const RunFile& file, const std::string& name);

// "ended well", "failed (exit status 1)", ...
std::string ending_of(const RunFile& file);

// "dry run", "restore (dry run)", ...
std::string task_of(const RunFile& file);

// "Dry run of 2026-11-21 14:25:35", in local time.
std::string title_of(const RunFile& file);

// The counts in a few words: "9 directories, 23 orphan copies, 49 missing copies".
std::string outcome_of(const RunFile& file);

// The rest of a query for messages, after FROM. Messages about the run as a whole come first, because
// there may be one for each directory.
std::string messages(record::Severity severity);

// Finds the records that the words name, newest first. A word is a log directory (or a folder of records
// in one), a record, or the id of a run. Ids are looked up in the given directories, or else in the
// configured log directory, which is also read if there are no words. The other records in the directory
// of a named one are read too: a later run may have made it out of date.
// Errors: those of the configuration. What cannot be read is added to `faults`.
std::vector<RunFile> find_runs(const Texts& words, std::vector<Fault>& faults);

// The fault of reading the record `file`, without the path in its text.
Fault fault_of(const std::string& file, const std::exception& error);

}  // namespace report
