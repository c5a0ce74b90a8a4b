#pragma once

#include <cstddef>
#include <string_view>

namespace files {

// Writes the text in as many calls as needed. Returns the bytes written; if a call fails, these are
// fewer and errno is set.
std::size_t write_all(int descriptor, std::string_view text);

// Whether a write would not block now, as it would on a full pipe or a stopped terminal.
bool takes_output(int descriptor);

}  // namespace files
