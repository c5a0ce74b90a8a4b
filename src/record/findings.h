#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "record/counts.h"

// What a run finds: one plain struct for each kind of finding. Names are bytes, as directories and
// databases hold them. Times are seconds since the epoch unless their name has another unit.
namespace record {

enum class Task { none, scan, repair, dry_run, deletion, restore };

// What the record holds for an undo.
enum class Undo {
  none,       // nothing: the run changed nothing
  saved,      // all that is needed
  off,        // nothing, because of --no_undo
  forgotten,  // nothing any more
};

// A policy directory during a run. Belongs to one thread.
struct Directory {
  std::string dsid;  // the name of the client's parent directory
  std::string client;
  std::string policy;
  DirCounts counts;
  std::int64_t id = 0;         // in the record; 0 while it holds nothing of the directory
  std::int64_t saved_pos = 0;  // in the record
};

// A copy that the metadata holds and the backup catalog does not. If a deletion takes another
// number of POs than was found, `pos` is the number taken, and the rest is as found.
struct Orphan {
  std::int64_t backup_time = 0;
  std::uint32_t copy_number = 0;
  std::uint64_t pos = 0;                  // that its deletion takes
  std::uint64_t bytes = 0;                // the sum of their sizes
  std::vector<std::string> other_copies;  // basenames of taken POs of other copies
  bool deleted = false;
};

// A copy that the backup catalog holds and the metadata does not.
struct MissingCopy {
  std::string client;
  std::string policy;
  std::int64_t backup_time = 0;
  std::uint32_t copy_number = 0;
};

// POs that moved to the directory of `target_client` with the same DSID and policy.
struct Moved {
  std::string target_client;
  std::vector<std::vector<std::string>::const_iterator> basenames;
};

// What a repair made for the POs that it moved: a directory or a database.
struct Made {
  std::string path;  // below the metadata tree
};

// A PO that stayed because `target_client` has another PO of its name.
struct Collision {
  std::string target_client;
  std::string basename;
};

// A PO that the comparison left out because of its name, or that a repair could not read.
struct UnparsedName {
  std::string basename;
  std::string reason;
};

// A symbolic link below the metadata tree.
struct Link {
  std::string path;
  std::string target;
  bool removed = false;
};

enum class Severity { warning, error };

enum class Ending { none, orderly, signal, exception };

// How a run ended: `none` if it was killed.
struct RunEnd {
  Ending ending = Ending::none;
  std::string text;  // of the exception
  int exit_status = 0;
};

// A run as a whole.
struct Run {
  Task task = Task::none;
  std::vector<std::string> arguments;
  std::string version;
  std::string host;
  std::int64_t pid = 0;
  std::string storage_root;
  std::string catalog;
  std::string disk_pool;
  std::optional<std::int64_t> listing_hours;  // how far listings of the backup catalog reach back
  std::int64_t catalog_backup_time = 0;       // two days after their start; 0 means the epoch
  std::int64_t threads = 0;
  std::int64_t start_nanoseconds = 0;
  std::int64_t end_nanoseconds = 0;  // 0 for a run without an end
  RunEnd end;
  std::string catalog_aside;  // where a repair left the metadata tree; empty if it is in its place
  Undo undo = Undo::none;
  std::string of_run;  // the run that is restored, or whose orphans were approved
  std::uint64_t dirs = 0;
  std::uint64_t failed_dirs = 0;
  std::uint64_t skipped_dirs = 0;  // excluded by --only or --except
  DirCounts counts;
};

}  // namespace record
