#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace report::logs {

// Reads the parts of a line one after the other. Once a part is not there, nothing more is.
// The line must outlive it.
class Scanner {
 public:
  explicit Scanner(std::string_view line) : m_rest(line) {}

  // Steps over `text`, if it stands here.
  Scanner& skip(std::string_view text);

  // Steps over what stands before the next `end` and over that, and sets `text` to the former.
  Scanner& up_to(std::string_view end, std::string_view& text);

  // Steps over a decimal number.
  Scanner& number(std::uint64_t& number);
  // The same, which may have a minus.
  Scanner& number(std::int64_t& number);

  // Whether every part was there; with `end`, and nothing is left.
  explicit operator bool() const { return m_good; }
  bool end() const { return m_good && m_rest.empty(); }

  std::string_view rest() const { return m_rest; }

 private:
  template <class Number>
  Scanner& read(Number& number);

  std::string_view m_rest;
  bool m_good = true;
};

// Whether `line` begins with `prefix`, which is taken off then.
bool take_prefix(std::string_view& line, std::string_view prefix);

bool ends_with(std::string_view line, std::string_view end);

// Whether it can be the name of a directory.
bool is_name(std::string_view text);

// A copy that takes a bounded room, marked where it was cut.
std::string shortened(std::string_view text);

}  // namespace report::logs
