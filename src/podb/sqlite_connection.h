#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "status/status.h"

namespace SQLite {
class Database;
class Exception;
}  // namespace SQLite

namespace database {

// Opens a database file for one thread at a time. The file is not trusted: its triggers and views
// do not run and functions named in its schema get no privileges. A lock of another process is
// waited for, up to 30 s. `flags` are SQLite's open flags.
//
// Threads: may be called from any thread.
// Errors: Cr_ErrnoException, naming the file, when it cannot be opened or is no regular file.
std::unique_ptr<SQLite::Database> open_database(const std::string& file, int flags);

// The same; null when there is nothing at all.
std::unique_ptr<SQLite::Database> open_database_if_there(const std::string& file, int flags);

// Whether the file is one to work on, found out without SQLite reading it. Returns 0;
// k_status_db_write_ahead_log when readers share it through such a log, for which even a reader
// would make files, or when one lies beside it, which SQLite would read for the database, be it
// another one's; k_status_db_foreign when its texts are UTF-16, which not all names survive. What is
// no database at all is left for SQLite to tell.
// Errors: SQLite::Exception when the header cannot be read.
cr_status_t check_file_form(SQLite::Database& database);

// Reads the first `size` bytes of the database file into `bytes`, not through SQLite's cache. Bytes that
// a shorter file does not have are 0.
// Errors: SQLite::Exception when they cannot be read.
void read_beginning(SQLite::Database& database, char* bytes, std::size_t size);

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

}  // namespace database
