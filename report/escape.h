#pragma once

#include <string>
#include <string_view>

namespace report {

// Names come from directories and databases that anybody may have written to. None of these throws.

// For a terminal or a page: on one line, valid UTF-8, with nothing that moves the cursor, changes the
// direction of writing or cannot be seen. What could is written as \n, \t, \x1b or \u{202e}, a
// backslash as two.
std::string printable(std::string_view text);

// As it stands, but for bytes that are no UTF-8, which are written as \xff.
std::string valid_utf8(std::string_view text);

// printable(), with the characters that have a meaning in HTML, also inside quotes, as entities.
std::string html(std::string_view text);

}  // namespace report
