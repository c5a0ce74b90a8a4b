#include "report/escape.h"

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

bool within(code_point character, code_point first, code_point last) {
  return character >= first && character <= last;
}

// Controls, what changes the direction of writing, and what takes no room.
bool cannot_be_seen(code_point character) {
  return character < 0x20 || within(character, 0x7f, 0x9f) || character == 0xad ||
         character == 0x61c || within(character, 0x200b, 0x200f) ||
         within(character, 0x2028, 0x202e) || within(character, 0x2060, 0x206f) ||
         character == 0xfeff || within(character, 0xfff9, 0xfffb) ||
         within(character, 0xe0000, 0xe0fff);
}

std::string escape_of(code_point character) {
  if (character == '\n') return "\\n";
  if (character == '\t') return "\\t";
  if (character < 0x80) return byte_escape(character);
  return (boost::format("\\u{%x}") % character).str();
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  const auto character = [&](code_point decoded, std::string_view bytes) {
    if (decoded == '\\') {
      result += "\\\\";
    } else if (cannot_be_seen(decoded)) {
      result += escape_of(decoded);
    } else {
      result += bytes;
    }
  };
  for_each_character(text, character, [&](unsigned value) { result += byte_escape(value); });
  return result;
}

std::string valid_utf8(std::string_view text) {
  std::string result;
  for_each_character(
      text, [&](code_point /*decoded*/, std::string_view bytes) { result += bytes; },
      [&](unsigned value) { result += byte_escape(value); });
  return result;
}

std::string html(std::string_view text) {
  std::string result;
  for (const char c : printable(text)) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

}  // namespace report
