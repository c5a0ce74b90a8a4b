#include "record/schema.h"

#include "record/counts.h"

namespace record {

std::string count_columns(const std::string& suffix) {
  std::string columns;
  for (const Count& count : k_counts) columns += count.name + suffix + ", ";
  return columns;
}

namespace {

std::string table(const char* name, const std::string& columns) {
  return std::string("CREATE TABLE ") + name + " (id INTEGER PRIMARY KEY, " + columns + ")";
}

constexpr const char* k_run_columns =
    "task TEXT NOT NULL, version TEXT NOT NULL, host TEXT NOT NULL, pid INTEGER NOT NULL, "
    "storage_root TEXT NOT NULL, catalog TEXT NOT NULL, disk_pool TEXT NOT NULL, "
    "listing_hours INTEGER, catalog_backup_time INTEGER NOT NULL, threads INTEGER NOT NULL, "
    "started INTEGER NOT NULL, ended INTEGER, "
    "ending TEXT NOT NULL, ending_text TEXT NOT NULL, exit_status INTEGER, "
    "catalog_aside TEXT NOT NULL, undo TEXT NOT NULL, of_run TEXT NOT NULL, dirs INTEGER NOT NULL, "
    "failed_dirs INTEGER NOT NULL, skipped_dirs INTEGER NOT NULL";
constexpr const char* k_orphan_columns =
    "directory INTEGER NOT NULL, backup_time INTEGER NOT NULL, copy INTEGER NOT NULL, pos INTEGER "
    "NOT NULL, bytes INTEGER NOT NULL, deleted INTEGER NOT NULL";
constexpr const char* k_missing_columns =
    "client_policy INTEGER NOT NULL, backup_time INTEGER NOT NULL, copy INTEGER NOT NULL";
// The target is a client_policy, with the directory's DSID.
constexpr const char* k_moved_columns =
    "directory INTEGER NOT NULL, target INTEGER NOT NULL, basename TEXT NOT NULL";

}  // namespace

// Each client and policy is stored once and then referred to by its number, so that an orphan or a
// missing copy takes about 25 bytes. Rows are appended and whole tables are read, so the only index
// is that of the pairs.
const std::vector<std::string>& schema() {
  static const std::string counts = count_columns(" INTEGER NOT NULL DEFAULT 0");
  static const std::vector<std::string> statements{
      table("run", counts + k_run_columns),
      table("argument", "text TEXT NOT NULL"),
      table("client_policy", "client TEXT NOT NULL, policy TEXT NOT NULL, UNIQUE (client, policy)"),
      // The state is NULL, done or failed.
      table("directory", "dsid TEXT NOT NULL, client_policy INTEGER NOT NULL, " + counts +
                             "state TEXT, reason TEXT"),
      table("orphan", k_orphan_columns),
      table("collateral", "orphan INTEGER NOT NULL, basename TEXT NOT NULL"),
      table("missing", k_missing_columns),
      table("moved", k_moved_columns),
      table("collision", k_moved_columns),
      table("made", "path TEXT NOT NULL"),
      // Without types, which would change what is stored.
      table("saved", "basename, poid, size, mtime, record"),
      table("link", "path TEXT NOT NULL, target TEXT NOT NULL, removed INTEGER NOT NULL"),
      table("unparsed", "directory INTEGER NOT NULL, basename TEXT NOT NULL, reason TEXT NOT NULL"),
      table("message", "severity TEXT NOT NULL, text TEXT NOT NULL"),
  };
  return statements;
}

}  // namespace record
