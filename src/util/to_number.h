#pragma once

#include <string_view>

#include <boost/lexical_cast.hpp>

namespace util {

// `text` as a number, by the rules of boost::lexical_cast: all of it must be taken, and a minus in
// front of an unsigned number wraps.
// Errors: boost::bad_lexical_cast, which names an iterator range as the source type.
template <class Number>
Number to_number(std::string_view text) {
  return boost::lexical_cast<Number>(text.data(), text.size());
}

}  // namespace util
