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

// The database that a record is written to. What the functions store is in a transaction that must
// have been begun.
//
// Threads: one at a time.
// Errors: SQLite::Exception, unless said otherwise.
class RecordDatabase {
 public:
  // Makes the file, with what is known of the run, and opens it. A kill leaves a file that can be read,
  // or none of this name.
  // Errors: Cr_ErrnoException as well, also when something of that name is there.
  RecordDatabase(const std::string& file, Run run);
  ~RecordDatabase();
  RecordDatabase(const RecordDatabase&) = delete;
  RecordDatabase& operator=(const RecordDatabase&) = delete;

  // The run as a whole; stored with the next commit.
  void change_run(const std::function<void(Run&)>& change);

  // A directory, unless it is stored already; findings in a directory, which is stored with the first.
  void store(Directory& directory);
  void store(Directory& directory, const Orphan& orphan);
  void store(Directory& directory, const Moved& moved);
  // A PO that is about to be deleted.
  void store(Directory& directory, const database::PORow& row);
  void store(Directory& directory, const Collision& collision);
  void store(Directory& directory, const UnparsedName& name);
  // Counts and state of a stored directory.
  void store_state(const Directory& directory, std::string_view state, const std::string& reason);

  void store(const Made& made);
  void store(const MissingCopy& copy);
  void store(Severity severity, const std::string& text);
  // A link, or that the link of this path was removed.
  void store(const Link& link);

  // Begins a transaction, if none is open.
  void begin();
  void commit();
  // Commits when a second has passed since the last time.
  void commit_if_due();

  // Commits, and from now on syncs each commit.
  void sync_commits();

  // Syncs what was committed and makes it a single file. Where the log cannot be taken into the
  // database, as while a report reads it, both files stay, and are read together.
  void close();

 private:
  using Clock = std::chrono::steady_clock;

  // Executes a statement, a string literal, with the values. Returns the number of the row that was
  // inserted last.
  template <class... Values>
  std::int64_t execute(const char* sql, const Values&... values);
  // The same for a statement that returns one number, if anything.
  template <class... Values>
  std::optional<std::int64_t> find(const char* sql, const Values&... values);
  template <class... Values>
  SQLite::Statement& bound(const char* sql, const Values&... values);
  void create();
  void store_run(const Run& run);
  std::int64_t id_of(const std::string& client, const std::string& policy);

  Run m_run;
  bool m_run_changed = false;
  std::unique_ptr<SQLite::Database> m_database;
  std::map<const char*, SQLite::Statement> m_statements;
  bool m_in_transaction = false;
  Clock::time_point m_last_commit;
  // The client and policy looked up last: those of missing copies mostly repeat.
  std::string m_last_client;
  std::string m_last_policy;
  std::int64_t m_last_pair_id = 0;
};

}  // namespace record
