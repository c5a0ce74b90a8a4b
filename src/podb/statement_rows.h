#pragma once

#include <string>
#include <string_view>

#include "podb/po_row.h"
#include "podb/sqlite_podb.h"

namespace SQLite {
class Column;
class Statement;
}  // namespace SQLite

namespace database {

// The text of a column, valid until the statement goes on.
std::string_view text_of(const SQLite::Column& column);

// The bytes of a column, valid for as long.
std::string_view bytes_of(const SQLite::Column& column);

// Reads a column that is not NULL, and the columns of a PO from `first` on. Errors: SQLite::Exception.
void read_value(const SQLite::Column& column, Value& value);
void read_row(SQLite::Statement& statement, int first, PORow& row);

// Binds a value as it is, and the columns of a PO from `first` on. They must outlive the use.
void bind_value(SQLite::Statement& statement, int index, const Value& value);
void bind_row(SQLite::Statement& statement, int first, const PORow& row);

// Binds a text that is an end; an empty one stands for the end of all texts. It must outlive the use.
void bind_upper_bound(SQLite::Statement& statement, int index, const std::string& text);

// Runs a statement to its end and hands on the first column of each row; `rows` may be null.
// Errors: SQLite::Exception.
void step_through(SQLite::Statement& statement, const SQLitePODB::BasenameVisitor* rows);

// The same for a statement whose rows come in byte order, as long as they are texts before `end`.
void step_up_to(std::string_view end, SQLite::Statement& statement,
                const SQLitePODB::BasenameVisitor& rows);

}  // namespace database
