#pragma once

#include <string>
#include <string_view>

namespace report {

// Escapes untrusted names from directories and databases. No function here throws.

// For a terminal or a page: one line of valid UTF-8 without control, bidirectional or invisible
// characters. These become \n, \t, \x1b or \u{202e}; a backslash is doubled.
std::string printable(std::string_view text);

// Replaces only invalid UTF-8, by escapes such as \xff.
std::string valid_utf8(std::string_view text);

// printable() with HTML's special characters as entities, safe inside quotes too.
std::string html(std::string_view text);

}  // namespace report
