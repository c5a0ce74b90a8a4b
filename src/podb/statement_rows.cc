#include "podb/statement_rows.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <sqlite3.h>

namespace database {

std::string_view text_of(const SQLite::Column& column) {
  const char* text = column.getText();
  return {text, static_cast<std::size_t>(column.getBytes())};
}

std::string_view bytes_of(const SQLite::Column& column) {
  const auto* bytes = static_cast<const char*>(column.getBlob());
  if (bytes == nullptr) return {};
  return {bytes, static_cast<std::size_t>(column.getBytes())};
}

// A column reads as NULL if memory is short; those of a PO are NOT NULL.
void read_value(const SQLite::Column& column, Value& value) {
  if (column.isInteger()) {
    value = column.getInt64();
  } else if (column.isFloat()) {
    value = column.getDouble();
  } else if (column.isText()) {
    value = std::string(text_of(column));
  } else if (column.isBlob()) {
    value = Blob{std::string(bytes_of(column))};
  } else {
    throw SQLite::Exception("a column of a path object is NULL", SQLITE_CORRUPT);
  }
}

void read_row(SQLite::Statement& statement, PORow& row) {
  int column = 0;
  for (Value& value : row) read_value(statement.getColumn(column++), value);
}

void bind_upper_bound(SQLite::Statement& statement, int index, const std::string& text) {
  if (text.empty()) {
    statement.bindNoCopy(index, text.c_str(), 0);  // a BLOB, which sorts after all texts
  } else {
    statement.bindNoCopy(index, text);
  }
}

void step_through(SQLite::Statement& statement, const SQLitePODB::BasenameVisitor* rows) {
  if (!statement.executeStep()) return;
  const SQLite::Column first = statement.getColumn(0);  // follows the statement from row to row
  do {
    if (rows != nullptr) (*rows)(text_of(first));
  } while (statement.executeStep());
}

void step_up_to(std::string_view upper_bound, SQLite::Statement& statement,
                const SQLitePODB::BasenameVisitor& rows) {
  while (statement.executeStep()) {
    const SQLite::Column first = statement.getColumn(0);
    if (!first.isText() || text_of(first) >= upper_bound) return;
    rows(text_of(first));
  }
}

}  // namespace database
