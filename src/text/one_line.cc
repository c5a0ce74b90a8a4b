#include "text/one_line.h"

#include <boost/algorithm/string/replace.hpp>

namespace util {

std::string on_one_line(std::string_view text) {
  std::string line(text);
  boost::algorithm::replace_all(line, "\n", "\\n");
  boost::algorithm::replace_all(line, "\r", "\\r");
  return line;
}

}  // namespace util
