#pragma once

#include <string>

namespace dct {

// Writes `text`, which has its own line ends, to standard error, and to the run log as one line.
// Threads: any.
void report_error(const std::string& text);

}  // namespace dct
