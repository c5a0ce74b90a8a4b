#pragma once

#include <cstdint>
#include <string>

namespace dct {

// Raises the process's soft limit of open files to the hard limit, if possible.
// Threads: call it once, before any other thread runs.
void raise_descriptor_limit();

// The number of files that the process may have open at a time.
std::uint64_t descriptor_limit();

// `command` after a shell statement that restores the original soft limit. Some programs close every
// descriptor up to the limit, and a service inherits the limit for its whole life.
// Threads: any.
std::string with_first_descriptor_limit(const std::string& command);

}  // namespace dct
