#pragma once

#include <cstddef>
#include <string_view>
#include <typeinfo>

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <boost/range/iterator_range_core.hpp>

namespace util {

// Sets `number` from `text` by the rules of boost::lexical_cast: the whole text must be a number,
// and a minus before an unsigned number wraps. Otherwise false, and `number` is undefined.
template <class Number>
bool try_to_number(std::string_view text, Number& number) {
  // Nearly every text is a few digits, which cannot overflow; the library would consult the locale.
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

// The same. Errors: boost::bad_lexical_cast, with an iterator range as the source type.
template <class Number>
Number to_number(std::string_view text) {
  Number number = 0;
  if (try_to_number(text, number)) return number;
  throw boost::bad_lexical_cast(typeid(boost::iterator_range<const char*>), typeid(Number));
}

}  // namespace util
