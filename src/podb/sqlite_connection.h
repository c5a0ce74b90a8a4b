#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include <SQLiteCpp/SQLiteCpp.h>

#include "status/status.h"

namespace database {

// Opens a database file for one thread at a time, with SQLite's open flags. The file is not
// trusted: its triggers and views do not run, and functions named in its schema get no privileges.
// A statement waits up to 30 s for the lock of another process.
// Threads: any. Errors: Cr_ErrnoException, naming the file, if not regular or not opened.
std::unique_ptr<SQLite::Database> open_database(const std::string& file, int flags);

// The same; null if the file does not exist.
std::unique_ptr<SQLite::Database> open_database_if_there(const std::string& file, int flags);

// Checks the header before SQLite reads the file. Returns 0, also for a file that is no database,
// which SQLite reports itself; or
//   k_status_db_write_ahead_log: the database uses such a log, so even a reader would make files;
//     or a stray log is beside it, which SQLite would replay.
//   k_status_db_foreign: its texts are UTF-16, which not all names survive.
// Errors: SQLite::Exception if the header cannot be read.
cr_status_t check_file_header(SQLite::Database& database);

// Reads the first `size` bytes of the file, not through SQLite's cache. A shorter file is padded
// with 0. Errors: SQLite::Exception.
void read_beginning(SQLite::Database& database, char* bytes, std::size_t size);

// Lets each commit survive a power failure once it returns. By default SQLite does not sync the
// removal of the journal, so that the last commit can be lost. Errors: SQLite::Exception.
void sync_each_commit(SQLite::Database& database);

// Whether a transaction is open.
bool in_transaction(SQLite::Database& database);

// Throws SQLite::Exception unless `sql` is one statement, with only blanks after it. Runs nothing.
void require_one_statement(SQLite::Database& database, const std::string& sql);

// The status for what SQLite reported.
cr_status_t database_status(const SQLite::Exception& error);

// The status that `operation` returns, or that of the SQLite::Exception that it throws.
template <class Operation>
cr_status_t status_of(Operation operation) {
  try {
    return operation();
  } catch (const SQLite::Exception& error) {
    return database_status(error);
  }
}

}  // namespace database
