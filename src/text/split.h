#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace util {

// Whether a run of separators counts as one, or encloses empty fields.
enum class Separators { each, runs };

namespace details {

// Eight characters of a text as one number: a line of a listing has hundreds, but few separators.
constexpr std::ptrdiff_t k_word = sizeof(std::uint64_t);
constexpr std::uint64_t k_each_byte = 0x0101010101010101;

// Sets the highest bit of each byte that is `c` in `word`, and no other bit.
constexpr std::uint64_t bytes_equal(std::uint64_t word, char c) {
  constexpr std::uint64_t k_lower_bits = k_each_byte * 0x7f;
  const std::uint64_t other = word ^ (k_each_byte * static_cast<unsigned char>(c));
  return ~(((other & k_lower_bits) + k_lower_bits) | other | k_lower_bits);
}

// At most eight characters, the first in the lowest byte, padded with zeros.
inline std::uint64_t word_of(const char* at, std::size_t length) {
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
  std::uint64_t word = 0;
  std::memcpy(&word, at, length);
  return word;
}

}  // namespace details

// Splits `text` at each character of `Chars`, as boost::split does: before a leading separator and
// after a trailing one is an empty field, and text without one is a single field. Stores the first
// N fields and returns their number. A caller that must detect more than N asks for N + 1.
//
// Copies and allocates nothing: it runs for each line of a listing and for each basename.
template <char... Chars, std::size_t N>
std::size_t split(std::string_view text, Separators mode, std::array<std::string_view, N>& fields) {
  static_assert(((Chars != '\0') && ...), "zeros follow the end of the text");
  const char* begin = text.data();  // of the current field
  const char* const end = begin + text.size();
  std::size_t count = 0;
  const auto take_fields = [&](const char* at, std::uint64_t word) {
    for (std::uint64_t found = (details::bytes_equal(word, Chars) | ...); found != 0;
         found &= found - 1) {
      const char* const separator = at + __builtin_ctzll(found) / 8;
      const bool is_of_run = mode == Separators::runs && separator == begin && count != 0;
      if (!is_of_run) {
        fields[count++] = std::string_view(begin, static_cast<std::size_t>(separator - begin));
        if (count == N) return;
      }
      begin = separator + 1;
    }
  };
  const char* at = begin;
  for (; end - at >= details::k_word && count < N; at += details::k_word) {
    take_fields(at, details::word_of(at, details::k_word));
  }
  if (count < N && at != end) {
    take_fields(at, details::word_of(at, static_cast<std::size_t>(end - at)));
  }
  if (count < N) fields[count++] = {begin, static_cast<std::size_t>(end - begin)};
  return count;
}

}  // namespace util
