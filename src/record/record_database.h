#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "podb/po_row.h"
#include "record/findings.h"

namespace SQLite {
class Database;
class Statement;
}  // namespace SQLite

namespace record {

// Writes the database of a record. The caller begins a transaction before it stores anything.
//
// Threads: one at a time.
// Errors: SQLite::Exception.
class RecordDatabase {
 public:
  // Makes the file, which must not exist, and opens it. A kill leaves a readable file or none.
  // Errors: also Cr_ErrnoException.
  RecordDatabase(const std::string& file, Run run);
  ~RecordDatabase();
  RecordDatabase(const RecordDatabase&) = delete;
  RecordDatabase& operator=(const RecordDatabase&) = delete;

  // Changes the run as a whole; stored with the next commit.
  void change_run(const std::function<void(Run&)>& change);

  // Stores a directory once; findings in a directory, together with it.
  void store(Directory& directory);
  void store(Directory& directory, const Orphan& orphan);
  void store(Directory& directory, const Moved& moved);
  // A PO before it is deleted or replaced.
  void store(Directory& directory, const database::PORow& row);
  void store(Directory& directory, const Collision& collision);
  void store(Directory& directory, const UnparsedName& name);
  // Counts and state of a stored directory.
  void store_state(const Directory& directory, std::string_view state, const std::string& reason);

  void store(const Made& made);
  void store(const MissingCopy& copy);
  void store(Severity severity, const std::string& text);
  // A link, or the removal of the link of that path.
  void store(const Link& link);

  // Begins a transaction, if none is open.
  void begin();
  void commit();
  // Commits if a second has passed since the last time.
  void commit_if_due();

  // Commits, and from now on syncs each commit.
  void sync_commits();

  // Syncs what was committed and makes it a single file. While a report reads the database, its log
  // stays beside it; readers read both.
  void close();

 private:
  using Clock = std::chrono::steady_clock;

  // Executes a statement, kept by its address, with the values; returns the last inserted rowid.
  template <class... Values>
  std::int64_t execute(const char* sql, const Values&... values);
  // The same for a statement that returns at most one number.
  template <class... Values>
  std::optional<std::int64_t> find(const char* sql, const Values&... values);
  void create();
  void store_run(const Run& run);
  std::int64_t id_of(const std::string& client, const std::string& policy);

  Run m_run;
  bool m_run_changed = false;
  std::unique_ptr<SQLite::Database> m_database;
  std::map<const char*, SQLite::Statement> m_statements;
  bool m_in_transaction = false;
  Clock::time_point m_last_commit;
  // The last pair looked up: those of missing copies mostly repeat.
  std::string m_last_client;
  std::string m_last_policy;
  std::int64_t m_last_pair_id = 0;
};

}  // namespace record
