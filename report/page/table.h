#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace report::page {

// More rows than a browser shows with ease do not go onto a page.
constexpr std::size_t k_most_rows = 10000;

struct Column {
  enum Kind { text, verbatim, number, time };
  std::string label;
  Kind kind = text;
  bool summed = false;  // the script says the sum of the rows that a filter leaves
};

// Writes one table, row by row. The script makes it sortable; without it, it is a plain table. Cells
// come in the order of the columns, and escape what they are given.
class Table {
 public:
  Table(std::ostream& out, const std::string& caption, std::vector<Column> columns);

  void row(const char* css_class = "");
  void text(std::string_view text);
  void number(std::uint64_t number);
  void number(const std::optional<std::uint64_t>& number);  // "?" for none
  void time(std::int64_t time);
  // What is HTML already; with the number to sort it by in a column of numbers or times.
  void cell(const std::string& html, const std::string& sort_by = "");

  void end();

 private:
  std::ostream& m_out;
  const std::vector<Column> m_columns;
  std::size_t m_at = 0;
  bool m_in_row = false;
};

}  // namespace report::page
