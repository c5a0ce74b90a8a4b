#pragma once

namespace console {

// Opens /dev/null for each standard descriptor that the caller has closed. Otherwise a file opened
// later, such as the lock file, would take its number and receive the run's output.
// To be called before any file is opened. Errors: std::system_error.
void open_standard_descriptors();

}  // namespace console
