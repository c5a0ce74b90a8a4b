#pragma once

#include <string>
#include <string_view>

namespace report {

// Writes a page to `path`, completely or not at all: into a temporary file, synced and then renamed.
// - Only another page or an empty file is replaced: a log or database named by mistake is kept.
// - A special file, such as a pipe, is written to directly.
// - A link is replaced; its target stays.
// - A new file has mode 0640 less the umask, like the logs, because it holds the same names. A replaced
//   file keeps its mode.
// Errors: Cr_ErrnoException, naming the path.
void write_page_file(const std::string& path, std::string_view page);

}  // namespace report
