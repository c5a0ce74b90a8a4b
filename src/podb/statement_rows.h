#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include <SQLiteCpp/SQLiteCpp.h>

#include "podb/po_row.h"
#include "podb/sqlite_podb.h"

namespace database {

// The text or bytes of a column, valid until the statement's next step.
std::string_view text_of(const SQLite::Column& column);
std::string_view bytes_of(const SQLite::Column& column);

// Reads a column, and the columns of a PO. Errors: SQLite::Exception, also for NULL.
void read_value(const SQLite::Column& column, Value& value);
void read_row(SQLite::Statement& statement, PORow& row);

// Binds values to a statement, one after the other. Texts, BLOBs and rows must outlive its use.
class Binder {
 public:
  explicit Binder(SQLite::Statement& statement) : m_statement(statement) {}
  void add(const std::string& text) { m_statement.bindNoCopy(++m_index, text); }
  void add(const Blob& blob) {
    m_statement.bindNoCopy(++m_index, blob.bytes.data(), static_cast<int>(blob.bytes.size()));
  }
  void add(const Value& value) {
    std::visit([this](const auto& each) { add(each); }, value);
  }
  void add(const PORow& row) {
    for (const Value& value : row) add(value);
  }
  void add(std::uint64_t number) { add(static_cast<std::int64_t>(number)); }
  void add(const std::optional<std::int64_t>& number) {
    ++m_index;
    if (number) m_statement.bind(m_index, *number);
    if (!number) m_statement.bind(m_index);
  }
  template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
  void add(Number number) {
    m_statement.bind(++m_index, number);
  }

 private:
  SQLite::Statement& m_statement;
  int m_index = 0;
};

// Binds an exclusive upper bound, which must outlive the use; an empty text means none.
void bind_upper_bound(SQLite::Statement& statement, int index, const std::string& text);

// Passes the first column of each row to `rows`, which may be null. Errors: SQLite::Exception.
void step_through(SQLite::Statement& statement, const SQLitePODB::BasenameVisitor* rows);

// The same for rows in byte order, up to the first that is no text before `upper_bound`.
void step_up_to(std::string_view upper_bound, SQLite::Statement& statement,
                const SQLitePODB::BasenameVisitor& rows);

}  // namespace database
