#pragma once

#include "platform/status.h"

namespace SQLite {
class Database;
}

namespace platform {

// The statement that makes the table of a path-object database.
extern const char* const k_po_schema;

// The version that this program writes, and the newest that it reads.
constexpr int k_po_version = 1;

// Whether the open database is a path-object database: our table and nothing beside it, in a
// version that we know. Returns 0, k_status_db_foreign or k_status_db_newer. To be called inside
// the transaction that goes on to use the table.
// Errors: SQLite::Exception when the database cannot be read.
cr_status_t check_po_schema(SQLite::Database& database);

}  // namespace platform
