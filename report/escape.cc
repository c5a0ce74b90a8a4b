#include "report/escape.h"

#include <algorithm>

#include <boost/format.hpp>
#include <boost/locale/utf.hpp>

namespace report {

namespace {

using Decoder = boost::locale::utf::utf_traits<char>;
using boost::locale::utf::code_point;

// Calls `character` with the code point and bytes of each character, `byte` with each byte that is
// part of none.
template <class Character, class Byte>
void for_each_character(std::string_view text, Character character, Byte byte) {
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    const char* const begin = at;
    const code_point decoded = Decoder::decode(at, end);
    if (boost::locale::utf::is_valid_codepoint(decoded)) {
      character(decoded, std::string_view(begin, static_cast<std::size_t>(at - begin)));
    } else {
      at = begin + 1;
      byte(static_cast<unsigned char>(*begin));
    }
  }
}

std::string byte_escape(unsigned value) {
  return (boost::format("\\x%02x") % value).str();
}

// Controls, what changes the direction of writing, and what takes no room.
bool cannot_be_seen(code_point character) {
  constexpr code_point k_ranges[][2] = {
      {0, 0x1f},        {0x7f, 0x9f},     {0xad, 0xad},     {0x61c, 0x61c},   {0x200b, 0x200f},
      {0x2028, 0x202e}, {0x2060, 0x206f}, {0xfeff, 0xfeff}, {0xfff9, 0xfffb}, {0xe0000, 0xe0fff}};
  return std::any_of(std::begin(k_ranges), std::end(k_ranges), [&](const auto& range) {
    return character >= range[0] && character <= range[1];
  });
}

std::string escape_of(code_point character) {
  if (character == '\\') return "\\\\";
  if (character == '\n') return "\\n";
  if (character == '\t') return "\\t";
  if (character < 0x80) return byte_escape(character);
  return (boost::format("\\u{%x}") % character).str();
}

// Most names.
bool is_plain(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return c >= ' ' && c <= '~' && c != '\\'; });
}

}  // namespace

std::string printable(std::string_view text) {
  if (is_plain(text)) return std::string(text);
  std::string result;
  for_each_character(
      text,
      [&](code_point character, std::string_view bytes) {
        const bool is_escaped = character == '\\' || cannot_be_seen(character);
        is_escaped ? result += escape_of(character) : result += bytes;
      },
      [&](unsigned value) { result += byte_escape(value); });
  return result;
}

std::string valid_utf8(std::string_view text) {
  if (is_plain(text)) return std::string(text);
  std::string result;
  for_each_character(
      text, [&](code_point /*character*/, std::string_view bytes) { result += bytes; },
      [&](unsigned value) { result += byte_escape(value); });
  return result;
}

std::string html(std::string_view text) {
  constexpr std::string_view k_special = "&<>\"'";
  constexpr const char* k_entities[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&#39;"};
  std::string result;
  for (const char c : printable(text)) {
    const std::size_t at = k_special.find(c);
    at == std::string_view::npos ? result += c : result += k_entities[at];
  }
  return result;
}

}  // namespace report
