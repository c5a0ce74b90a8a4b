#pragma once

namespace console {

// Opens /dev/null for each of standard input, output and error that the caller has closed. A file
// opened later would take its number otherwise, and what is meant for a terminal would be written
// into it: into the lock file, for one.
// Threads: call it before anything else is opened.
// Errors: std::system_error.
void open_standard_descriptors();

}  // namespace console
