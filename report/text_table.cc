#include "report/text_table.h"

#include <algorithm>
#include <iomanip>
#include <utility>

namespace report {

TextTable::TextTable(std::vector<std::string> head) {
  for (std::string& title : head) {
    m_to_the_right.push_back(title[0] == ' ');
    if (title[0] == ' ') title.erase(0, 1);
  }
  m_rows.push_back(std::move(head));
}

void TextTable::add(std::vector<std::string> row) {
  m_rows.push_back(std::move(row));
}

std::ostream& operator<<(std::ostream& out, const TextTable& table) {
  const std::size_t last = table.m_to_the_right.size() - 1;
  std::vector<std::size_t> widths(last, 0);
  for (const auto& row : table.m_rows) {
    for (std::size_t i = 0; i < last; ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  for (const auto& row : table.m_rows) {
    out << "  ";
    for (std::size_t i = 0; i < last; ++i) {
      out << (table.m_to_the_right[i] ? std::right : std::left)
          << std::setw(static_cast<int>(widths[i])) << row[i] << "  ";
    }
    out << row[last] << "\n";
  }
  return out;
}

}  // namespace report
