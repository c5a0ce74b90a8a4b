#pragma once

#include <cstddef>
#include <string_view>

namespace files {

// Writes the text to a descriptor, in as many calls as that takes. Returns the bytes written: all of
// them, unless a call failed; errno tells why then.
std::size_t write_all(int descriptor, std::string_view text);

// Whether the descriptor would take a line now; a full pipe that nobody reads and a stopped terminal
// would keep the writer waiting.
bool takes_output(int descriptor);

}  // namespace files
