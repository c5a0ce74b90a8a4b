#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace util {

// Whether a run of separators stands for one, or each for itself with empty fields between.
enum class Separators { each, runs };

// Splits `text` into ranges of it at every character that is one of `Chars`, the way boost::split
// does: text before a leading separator and behind a trailing one is an empty field, and text
// without one is a single field. Stores the first fields and returns how many there are, but at
// most N: a caller that must tell N fields from more asks for one more than it needs.
//
// Nothing is copied or allocated: this runs once for each line of a listing and for each basename.
template <char... Chars, std::size_t N>
std::size_t split(std::string_view text, Separators mode, std::array<std::string_view, N>& fields) {
  const auto is_separator = [](char c) { return ((c == Chars) || ...); };
  const char* at = text.data();
  const char* const end = at + text.size();
  std::size_t count = 0;
  while (count < N) {
    const char* const begin = at;
    while (at != end && !is_separator(*at)) ++at;
    fields[count++] = std::string_view(begin, static_cast<std::size_t>(at - begin));
    if (at == end) break;
    ++at;
    while (mode == Separators::runs && at != end && is_separator(*at)) ++at;
  }
  return count;
}

}  // namespace util
