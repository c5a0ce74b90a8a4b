#pragma once

#include <cstddef>
#include <string_view>
#include <typeinfo>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <boost/range/iterator_range_core.hpp>

namespace util {

// Sets `number` to what `text` says, by the rules of boost::lexical_cast: all of it must be taken,
// and a minus in front of an unsigned number wraps. False, and `number` undefined, when it is none.
template <class Number>
bool try_to_number(std::string_view text, Number& number) {
  // Digits alone, too few to overflow, are nearly all that is asked for; the library would look at
  // the locale for each.
  constexpr std::size_t k_safe_digits = sizeof(Number) * 2;
  const auto by_library = [&] {
    return boost::conversion::try_lexical_convert(text.data(), text.size(), number);
  };
  if (text.empty() || text.size() > k_safe_digits) return by_library();
  Number value = 0;
  for (const char c : text) {
    const auto digit = static_cast<unsigned char>(c - '0');
    if (digit > 9) return by_library();
    value = value * 10 + digit;
  }
  number = value;
  return true;
}

// `text` as a number, by the same rules.
// Errors: boost::bad_lexical_cast, which names an iterator range as the source type.
template <class Number>
Number to_number(std::string_view text) {
  Number number = 0;
  if (try_to_number(text, number)) return number;
  throw boost::bad_lexical_cast(typeid(boost::iterator_range<const char*>), typeid(Number));
}

}  // namespace util
