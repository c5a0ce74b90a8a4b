#pragma once

#include <memory>
#include <string>

#include "status/status.h"

namespace SQLite {
class Database;
class Statement;
}  // namespace SQLite

namespace database {

// The version that the program writes, and the newest that it reads.
constexpr int k_po_version = 1;

// The file of a new path-object database: the empty table. SQLite makes it once.
// Threads: any. Errors: SQLite::Exception.
const std::string& empty_po_database();

// The version of a database. While the object lives, it holds a read lock: its statement stays on
// its row. BEGIN and COMMIT would cost two more statements for each directory.
class POVersion {
 public:
  // Errors: SQLite::Exception if the database cannot be read.
  explicit POVersion(SQLite::Database& database);
  ~POVersion();
  POVersion(const POVersion&) = delete;
  POVersion& operator=(const POVersion&) = delete;

  int number() const { return m_number; }

 private:
  std::unique_ptr<SQLite::Statement> m_statement;
  int m_number = 0;
};

// Checks that the database holds the PO table alone, in a version that the program knows. Returns
// 0, k_status_db_foreign or k_status_db_newer. The result holds until `version` or the transaction
// ends.
// Errors: SQLite::Exception if the database cannot be read.
cr_status_t check_po_schema(SQLite::Database& database, const POVersion& version);

}  // namespace database
