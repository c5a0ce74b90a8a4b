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
constexpr std::uint64_t k_most_messages = 10;

// A restore that put back what a run had changed.
struct Undoing {
  std::string id;
  bool is_whole =
      false;  // otherwise it left something: it failed, was stopped, or had a part to restore
};

// A run as a whole, as its record has it.
struct RunFile {
  std::string file;
  std::string id;          // the name of the file without ".db"
  std::string dir;         // runs of different directories have nothing to do with each other
  bool was_named = false;  // otherwise it was found in a directory
  record::Run run;
  std::uint64_t bytes = 0;  // of the file and its write-ahead log
  std::uint64_t warnings = 0;
  std::uint64_t errors = 0;
  Texts messages;  // the first errors and then the first warnings, at most k_most_messages of each
  // It did nothing: it was refused, or failed before its first directory.
  bool was_refused = false;
  std::optional<Undoing> undone_by;  // a whole one if there is one, else the newest

  std::int64_t start() const { return run.start_nanoseconds / k_second_nanoseconds; }
  bool has_end() const { return run.end.ending != record::Ending::none; }
  bool ended_well() const {
    return run.end.ending == record::Ending::orderly && run.end.exit_status == 0;
  }
  // If there is one.
  const std::string& first_warning() const {
    return messages.at(std::min(errors, k_most_messages));
  }
  bool changes_storage() const;
  bool is_deletion() const { return run.task == record::Task::deletion; }
  bool is_restore() const { return run.task == record::Task::restore; }
  bool is_trial() const;  // a restore that changes nothing
  bool lists_orphans() const { return is_deletion() || run.task == record::Task::dry_run; }
};

// Whether records have a row for each one that is counted.
bool is_listed(const record::Count& count);
// Whether it stands among what a run found or did, though records have no rows for it.
bool is_of_run(const record::Count& count);

// The value of an option of the run, the last one given; none when it was not given.
std::optional<std::string> option(const RunFile& file, const std::string& name);

// "ended well", "failed (exit status 1)", ...
std::string ending_of(const RunFile& file);

// "dry run", "restore (dry run)", ...
std::string task_of(const RunFile& file);

// "Dry run of 2026-11-21 14:25:35", in local time.
std::string title_of(const RunFile& file);

// What the run counted, in a few words: "9 directories, 23 orphan copies, 49 missing copies".
std::string outcome_of(const RunFile& file);

// What stands behind FROM in a query for the texts. Those that concern the run as a whole come first:
// there may be one for each directory.
std::string messages(record::Severity severity);

// Finds the records that the words mean, newest first: a word is a log directory (or a folder of records
// in one), a record or the id of a run. An id is looked up in the directories among the words, or in the
// log directory of the storage's configuration, which also stands for no word. The other records beside a
// named one are read as well: they may tell that it is out of date.
// Errors: those of the configuration. What could not be read is added to `faults`.
std::vector<RunFile> find_runs(const Texts& words, std::vector<Fault>& faults);

// What went wrong with the record `file`, for a line that names it already.
Fault fault_of(const std::string& file, const std::exception& error);

}  // namespace report
