#pragma once

#include <string>
#include <string_view>

namespace util {

// `text` with its line ends written as \n and \r.
std::string on_one_line(std::string_view text);

}  // namespace util
