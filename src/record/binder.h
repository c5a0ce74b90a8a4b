#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>

#include <SQLiteCpp/SQLiteCpp.h>

#include "podb/po_row.h"
#include "podb/statement_rows.h"
#include "record/counts.h"

namespace record {

// Binds values to a statement, one after the other. Texts must outlive its use.
class Binder {
 public:
  explicit Binder(SQLite::Statement& statement) : m_statement(statement) {}
  void add(const std::string& text) { m_statement.bindNoCopy(++m_index, text); }
  void add(std::uint64_t number) { add(static_cast<std::int64_t>(number)); }
  void add(const database::PORow& row) {
    database::bind_row(m_statement, m_index + 1, row);
    m_index += static_cast<int>(row.size());
  }
  void add(const DirCounts& counts) {
    for (const Count& count : k_counts) add(counts.*count.value);
  }
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

}  // namespace record
