#pragma once

#include <memory>
#include <string>

#include "platform/status.h"

namespace SQLite {
class Database;
class Exception;
}  // namespace SQLite

namespace platform {

// Opens a database file for one thread at a time. The file is not trusted: its triggers and views
// do not run and functions named in its schema get no privileges. A lock of another process is
// waited for, up to 30 s. `flags` are SQLite's open flags.
//
// Threads: may be called from any thread.
// Errors: Cr_ErrnoException, naming the file, when it cannot be opened or is no regular file.
std::unique_ptr<SQLite::Database> open_database(const std::string& file, int flags);

// Whether the file's header says that readers share it through a write-ahead log, or such a log lies
// beside it: even a reader would make files beside such a database, and read the log for the
// database, be it another one's.
// Errors: SQLite::Exception when the header cannot be read.
bool uses_write_ahead_log(SQLite::Database& database);

// Makes a commit last through a power failure before it returns. SQLite's usual setting leaves the
// removal of the journal, which is the commit, to be stored later: no more is lost than that commit.
// Errors: SQLite::Exception.
void store_commits_at_once(SQLite::Database& database);

// Whether a transaction is open: begun, and neither committed nor rolled back.
bool in_transaction(SQLite::Database& database);

// Throws SQLite::Exception unless `sql` is one statement with nothing but blanks behind it. Runs
// nothing.
void require_one_statement(SQLite::Database& database, const std::string& sql);

// The status for what SQLite reported.
cr_status_t database_status(const SQLite::Exception& error);

}  // namespace platform
