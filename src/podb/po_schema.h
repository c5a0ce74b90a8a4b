#pragma once

#include <memory>
#include <string>

#include "status/status.h"

namespace SQLite {
class Database;
class Statement;
}  // namespace SQLite

namespace database {

// The version that this program writes, and the newest that it reads.
constexpr int k_po_version = 1;

// The bytes of a new path-object database, of our table and nothing in it. SQLite makes them once.
//
// Threads: may be called from any thread.
// Errors: SQLite::Exception.
const std::string& empty_po_database();

// The version of a database. While the object lives, the database is seen in one state: the statement
// that reads the version stays on its row and keeps its lock. BEGIN and COMMIT would do the same with
// two statements more for each directory.
class POVersion {
 public:
  // Errors: SQLite::Exception when the database cannot be read.
  explicit POVersion(SQLite::Database& database);
  ~POVersion();
  POVersion(const POVersion&) = delete;
  POVersion& operator=(const POVersion&) = delete;

  int number() const { return m_number; }

 private:
  std::unique_ptr<SQLite::Statement> m_statement;
  int m_number = 0;
};

// Whether the open database is a path-object database: our table and nothing beside it, in a
// version that we know. Returns 0, k_status_db_foreign or k_status_db_newer. Whoever goes on to use
// the table keeps the version, or a transaction, until then.
// Errors: SQLite::Exception when the database cannot be read.
cr_status_t check_po_schema(SQLite::Database& database, const POVersion& version);

}  // namespace database
