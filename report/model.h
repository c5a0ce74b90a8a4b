#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "report/timeline.h"

// What the logs of one or more runs say, as plain values: made by the readers, shown by the views.
// Texts are the bytes that stand in the logs; a view escapes what it shows. Times are seconds since
// the epoch. What could fill memory has a bound, and what went beyond it is counted.
namespace report {

enum class Task {
  unknown,  // refused before a task was chosen
  scan,
  repair,
  dry_run,
  deletion,
  consistency,  // a dry run or a deletion; no log tells which
};

// The first texts of possibly many.
struct Notes {
  std::vector<std::string> first;
  std::uint64_t count = 0;

  // Keeps the text if it is one of the first `most`.
  void add(std::string text, std::size_t most);

  // Keeps it before all others, and drops the last one where that makes more than `most`.
  void add_in_front(std::string text, std::size_t most);
};

// The counts at the end of a run.
struct Summary {
  std::uint64_t dirs = 0;
  std::uint64_t failed_dirs = 0;
  std::uint64_t pos = 0;
  std::uint64_t copies = 0;
  std::uint64_t orphan_copies = 0;
  std::uint64_t missing_copies = 0;
  std::uint64_t taken_pos = 0;
  std::uint64_t other_copies_pos = 0;
  std::uint64_t moved_pos = 0;
  std::uint64_t collisions = 0;
  std::string seconds;  // with decimals, as logged
};

// One run, as the run log tells it.
struct Run {
  Task task = Task::unknown;
  std::string start;  // as logged, in the local time of the host
  std::string end;    // the last line of the run
  std::int64_t start_time = 0;
  std::int64_t end_time = 0;
  std::uint64_t pid = 0;
  std::string arguments;
  std::optional<int> exit_status;  // none: killed, going on, or the log is cut
  bool interrupted = false;
  std::string catalog_aside;  // where a repair has left the catalog; empty where it is in its place
  std::optional<Summary> summary;
  std::string progress;       // the last such line; empty without one
  std::string clock_warning;  // of copies newer than the clock; also among the warnings
  Notes warnings;
  Notes errors;

  bool ended_well() const { return exit_status == 0 && !interrupted; }
};

// The image copies of one client and policy that a log lists.
struct ImageGroup {
  std::string client;
  std::string policy;
  std::uint64_t copies = 0;
  std::int64_t oldest = 0;
  std::int64_t newest = 0;
  // Of orphans alone.
  std::uint64_t taken_pos = 0;         // that their deletion takes or took
  std::uint64_t other_copies_pos = 0;  // of these, the ones of other copies
  // What the directory held; none when no log tells.
  std::optional<std::uint64_t> dir_copies;
  std::optional<std::uint64_t> dir_pos;

  // Of missing copies alone: nothing was compared, so all that the catalog has seems to be missing.
  bool dir_failed = false;

  bool loses_everything() const { return dir_copies && copies >= *dir_copies; }
  // From 0 to 1; none when no log tells.
  std::optional<double> share() const;
};

// The image copies that a log lists: orphans, or those that the metadata lacks.
struct Images {
  std::vector<ImageGroup> groups;  // the ones to look at first come first
  std::uint64_t copies = 0;        // of all groups, those left out too
  std::uint64_t taken_pos = 0;
  std::uint64_t other_copies_pos = 0;
  std::uint64_t copies_left_out = 0;  // of clients and policies beyond those in `groups`
  std::uint64_t groups_losing_everything = 0;
  Timeline timeline;
};

// A PO of another copy than the orphan whose deletion takes it.
struct OtherPO {
  std::string client;
  std::string policy;
  std::int64_t backup_time = 0;
  std::uint64_t copy_number = 0;
  std::string basename;
};

struct FailedDir {
  std::string dir;
  std::string reason;
};

struct FailedDirs {
  std::vector<FailedDir> first;
  std::uint64_t count = 0;
};

// What is said of every run in detail.
struct Details {
  Task task = Task::unknown;
  std::int64_t time = 0;                // that its log's name carries
  std::vector<std::string> files;       // paths
  std::optional<Run> run;               // none when the run log does not tell of it
  std::vector<std::string> later_runs;  // what came after it and bears on it, in words
  FailedDirs failed;
  Notes errors;  // other than of a directory as a whole
};

// A dry run or a deletion.
struct ConsistencyDetails : Details {
  Images orphans;  // that would go, or went
  Images missing;
  bool orphans_were_read = false;  // otherwise nothing is known of them
  bool missing_were_read = false;
  std::vector<OtherPO> other_pos;  // the first ones; Images counts all
  Notes unparsed_names;            // POs left out of the comparison
};

struct ScannedClient {
  std::string client;
  std::uint64_t dirs = 0;  // with POs under another spelling
};

struct ScanDetails : Details {
  std::vector<ScannedClient> clients;
  std::uint64_t dirs_with_issues = 0;
  std::uint64_t dirs_left_out = 0;  // of clients beyond those in `clients`
};

struct Move {
  std::string from;
  std::string to;
  std::uint64_t pos = 0;
};

struct RepairDetails : Details {
  std::vector<Move> moves;
  std::uint64_t moved_pos = 0;
  std::uint64_t moves_left_out = 0;
  Notes collisions;  // the lines of the collision log
};

// A file that was read, and what of it could not be.
struct SourceFile {
  std::string path;
  std::uint64_t lines = 0;
  std::string error;                // it could not be opened or read to its end
  std::uint64_t strange = 0;        // lines that no run writes
  std::uint64_t first_strange = 0;  // its number, from 1
  bool cut = false;                 // the last line has no end

  bool whole() const { return error.empty() && strange == 0 && !cut; }
};

struct Report {
  std::vector<Run> runs;  // newest first
  std::uint64_t runs_left_out = 0;
  std::vector<ConsistencyDetails> consistency;  // newest first, as the next two
  std::vector<ScanDetails> scans;
  std::vector<RepairDetails> repairs;
  std::vector<SourceFile> files;
  std::uint64_t files_not_read = 0;  // logs of earlier runs in the directory

  // Whether everything that was asked for could be read.
  bool whole() const;

  // Whether any log of a run was found.
  bool has_content() const;
};

}  // namespace report
