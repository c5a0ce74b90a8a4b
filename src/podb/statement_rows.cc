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

namespace {

class Binding {
 public:
  Binding(SQLite::Statement& statement, int index) : m_statement(statement), m_index(index) {}
  void operator()(const std::string& text) const { m_statement.bindNoCopy(m_index, text); }
  void operator()(const Blob& blob) const {
    m_statement.bindNoCopy(m_index, blob.bytes.data(), static_cast<int>(blob.bytes.size()));
  }
  template <class Number>
  void operator()(Number number) const {
    m_statement.bind(m_index, number);
  }

 private:
  SQLite::Statement& m_statement;
  const int m_index;
};

}  // namespace

// A column that could not be read, as for lack of memory, would look like NULL, which a PO has none of.
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

void read_row(SQLite::Statement& statement, int first, PORow& row) {
  for (Value& value : row) read_value(statement.getColumn(first++), value);
}

void bind_value(SQLite::Statement& statement, int index, const Value& value) {
  std::visit(Binding(statement, index), value);
}

void bind_row(SQLite::Statement& statement, int first, const PORow& row) {
  for (const Value& value : row) bind_value(statement, first++, value);
}

void bind_upper_bound(SQLite::Statement& statement, int index, const std::string& text) {
  if (text.empty()) {
    statement.bindNoCopy(index, text.c_str(), 0);  // a blob: these come behind all texts
  } else {
    statement.bindNoCopy(index, text);
  }
}

void step_through(SQLite::Statement& statement, const SQLitePODB::BasenameVisitor* rows) {
  if (!statement.executeStep()) return;
  const SQLite::Column first = statement.getColumn(0);  // of whatever row the statement is on
  do {
    if (rows != nullptr) (*rows)(text_of(first));
  } while (statement.executeStep());
}

void step_up_to(std::string_view end, SQLite::Statement& statement,
                const SQLitePODB::BasenameVisitor& rows) {
  while (statement.executeStep()) {
    const SQLite::Column first = statement.getColumn(0);
    if (!first.isText() || text_of(first) >= end) return;
    rows(text_of(first));
  }
}

}  // namespace database
