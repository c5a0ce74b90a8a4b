#include "report/escape.h"

#include <algorithm>

#include <boost/algorithm/string/replace.hpp>
#include <boost/format.hpp>
#include <boost/locale/utf.hpp>

namespace report {

namespace {

using boost::locale::utf::code_point;

// Control, bidirectional and invisible characters, and the backslash that begins an escape.
bool may_mislead(code_point character) {
  constexpr code_point k_ranges[][2] = {{0, 0x1f},        {'\\', '\\'},      {0x7f, 0x9f},
                                        {0xad, 0xad},     {0x61c, 0x61c},    {0x200b, 0x200f},
                                        {0x2028, 0x202e}, {0x2060, 0x206f},  {0xfeff, 0xfeff},
                                        {0xfff9, 0xfffb}, {0xe0000, 0xe0fff}};
  return std::any_of(std::begin(k_ranges), std::end(k_ranges), [&](const auto& range) {
    return character >= range[0] && character <= range[1];
  });
}

std::string escape_of(code_point character) {
  if (character == '\\') return "\\\\";
  if (character == '\n') return "\\n";
  if (character == '\t') return "\\t";
  return (boost::format(character < 0x80 ? "\\x%02x" : "\\u{%x}") % character).str();
}

// A fast path for most names.
bool is_plain(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return c >= ' ' && c <= '~' && c != '\\'; });
}

// Escapes each invalid byte and each character for which `is_escaped` holds.
std::string escaped(std::string_view text, bool (*is_escaped)(code_point)) {
  if (is_plain(text)) return std::string(text);
  std::string result;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    const char* const begin = at;
    const auto character = boost::locale::utf::utf_traits<char>::decode(at, end);
    if (!boost::locale::utf::is_valid_codepoint(character)) {
      at = begin + 1;
      result += (boost::format("\\x%02x") % unsigned(static_cast<unsigned char>(*begin))).str();
    } else if (is_escaped(character)) {
      result += escape_of(character);
    } else {
      result.append(begin, at);
    }
  }
  return result;
}

}  // namespace

std::string printable(std::string_view text) {
  return escaped(text, may_mislead);
}

std::string valid_utf8(std::string_view text) {
  return escaped(text, [](code_point /*character*/) { return false; });
}

std::string html(std::string_view text) {
  constexpr const char* k_entities[][2] = {
      {"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}, {"\"", "&quot;"}, {"'", "&#39;"}};
  std::string result = printable(text);
  for (const auto& [character, entity] : k_entities) {
    boost::replace_all(result, character, entity);
  }
  return result;
}

}  // namespace report
