#include "report/logs/scanner.h"

#include <charconv>

namespace report::logs {

Scanner& Scanner::skip(std::string_view text) {
  m_good = m_good && take_prefix(m_rest, text);
  return *this;
}

Scanner& Scanner::up_to(std::string_view end, std::string_view& text) {
  const std::size_t at = m_good ? m_rest.find(end) : std::string_view::npos;
  m_good = at != std::string_view::npos;
  if (!m_good) return *this;
  text = m_rest.substr(0, at);
  m_rest.remove_prefix(at + end.size());
  return *this;
}

template <class Number>
Scanner& Scanner::read(Number& number) {
  if (!m_good) return *this;
  const char* const begin = m_rest.data();
  const auto [end, error] = std::from_chars(begin, begin + m_rest.size(), number);
  m_good = error == std::errc();
  m_rest.remove_prefix(static_cast<std::size_t>(end - begin));
  return *this;
}

Scanner& Scanner::number(std::uint64_t& number) {
  return read(number);
}

Scanner& Scanner::number(std::int64_t& number) {
  return read(number);
}

bool take_prefix(std::string_view& line, std::string_view prefix) {
  if (line.substr(0, prefix.size()) != prefix) return false;
  line.remove_prefix(prefix.size());
  return true;
}

bool ends_with(std::string_view line, std::string_view end) {
  return line.size() >= end.size() && line.substr(line.size() - end.size()) == end;
}

bool is_name(std::string_view text) {
  constexpr std::size_t k_longest = 255;
  return !text.empty() && text.size() <= k_longest;
}

std::string shortened(std::string_view text) {
  constexpr std::size_t k_longest = 1024;
  if (text.size() <= k_longest) return std::string(text);
  return std::string(text.substr(0, k_longest)) + "...";
}

}  // namespace report::logs
