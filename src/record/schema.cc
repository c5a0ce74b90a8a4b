#include "record/schema.h"

#include "record/counts.h"

namespace record {

std::string count_columns(const std::string& suffix) {
  std::string columns;
  for (const Count& count : k_counts) columns += count.name + suffix + ", ";
  return columns;
}

// Clients with their policies are stored once, under a number of their own: an orphan or a missing
// copy takes about 25 bytes. Rows are appended in the order of their numbers, and readers go through
// whole tables, so that there is no index but the one that finds the number of a client and policy.
const std::vector<std::string>& schema() {
  static const std::string counts = count_columns(" INTEGER NOT NULL DEFAULT 0");
  static const std::vector<std::string> statements{
      "CREATE TABLE run (id INTEGER PRIMARY KEY, " + counts +
          "task TEXT NOT NULL, version TEXT NOT NULL, host TEXT NOT NULL, pid INTEGER NOT NULL, "
          "storage_root TEXT NOT NULL, catalog TEXT NOT NULL, disk_pool TEXT NOT NULL, "
          "listing_hours INTEGER, threads INTEGER NOT NULL, started INTEGER NOT NULL, ended "
          "INTEGER, "
          "ending TEXT NOT NULL, ending_text TEXT NOT NULL, exit_status INTEGER, catalog_aside "
          "TEXT "
          "NOT NULL, dirs INTEGER NOT NULL, failed_dirs INTEGER NOT NULL)",
      "CREATE TABLE argument (position INTEGER PRIMARY KEY, text TEXT NOT NULL)",
      "CREATE TABLE client_policy (id INTEGER PRIMARY KEY, client TEXT NOT NULL, policy TEXT NOT "
      "NULL, UNIQUE (client, policy))",
      // The state is NULL, done or failed.
      "CREATE TABLE directory (id INTEGER PRIMARY KEY, dsid TEXT NOT NULL, client_policy INTEGER "
      "NOT "
      "NULL REFERENCES client_policy, " +
          counts + "state TEXT, reason TEXT)",
      "CREATE TABLE orphan (id INTEGER PRIMARY KEY, directory INTEGER NOT NULL REFERENCES "
      "directory, "
      "backup_time INTEGER NOT NULL, copy INTEGER NOT NULL, pos INTEGER NOT NULL, bytes INTEGER "
      "NOT "
      "NULL, deleted INTEGER NOT NULL)",
      "CREATE TABLE collateral (id INTEGER PRIMARY KEY, orphan INTEGER NOT NULL REFERENCES orphan, "
      "basename TEXT NOT NULL)",
      "CREATE TABLE missing (id INTEGER PRIMARY KEY, client_policy INTEGER NOT NULL REFERENCES "
      "client_policy, backup_time INTEGER NOT NULL, copy INTEGER NOT NULL)",
      // The target has the directory's DSID and policy.
      "CREATE TABLE moved (id INTEGER PRIMARY KEY, directory INTEGER NOT NULL REFERENCES "
      "directory, "
      "target INTEGER NOT NULL REFERENCES client_policy, basename TEXT NOT NULL)",
      "CREATE TABLE collision (id INTEGER PRIMARY KEY, directory INTEGER NOT NULL REFERENCES "
      "directory, target INTEGER NOT NULL REFERENCES client_policy, basename TEXT NOT NULL)",
      "CREATE TABLE link (id INTEGER PRIMARY KEY, path TEXT NOT NULL, target TEXT NOT NULL, "
      "removed "
      "INTEGER NOT NULL)",
      "CREATE TABLE unparsed (id INTEGER PRIMARY KEY, directory INTEGER NOT NULL REFERENCES "
      "directory, basename TEXT NOT NULL, reason TEXT NOT NULL)",
      "CREATE TABLE message (id INTEGER PRIMARY KEY, severity TEXT NOT NULL, text TEXT NOT NULL)",
  };
  return statements;
}

}  // namespace record
