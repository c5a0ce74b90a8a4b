#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace report {

// Lays out cells in columns for a terminal. The last column may be as long as it likes; so names go
// there.
class TextTable {
 public:
  // `head` with a blank in front stands to the right, as numbers do.
  explicit TextTable(std::vector<std::string> head);

  // As many cells as the head has, of characters that take one place each, but for the last.
  void add(std::vector<std::string> row);

  bool empty() const { return m_rows.size() == 1; }

  friend std::ostream& operator<<(std::ostream& out, const TextTable& table);

 private:
  std::vector<std::vector<std::string>> m_rows;  // the head first
  std::vector<bool> m_to_the_right;
};

}  // namespace report
