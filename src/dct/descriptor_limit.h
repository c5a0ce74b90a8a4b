#pragma once

#include <cstdint>
#include <string>

namespace dct {

// Raises the process's soft limit of open files to the hard one. Where that fails it stays.
// Threads: call it once, before any other thread runs.
void raise_descriptor_limit();

// How many files the process may have open at a time.
std::uint64_t descriptor_limit();

// `command` after a shell statement that restores the soft limit that the process was started with:
// some programs look at every number up to the limit, and a service keeps it as long as it lives.
// Threads: may be called from any thread.
std::string with_first_descriptor_limit(const std::string& command);

}  // namespace dct
