#pragma once

#include <string>

namespace dct {

// Tells the operator of an error: `text`, with its own line ends, on standard error, and as one
// line in the run log.
// Threads: may be called from any thread.
void report_error(const std::string& text);

}  // namespace dct
