#pragma once

#include <string>
#include <string_view>

namespace report {

// Makes the file at `path` hold `text`, whole or not at all: the text is written beside its place,
// stored, and put there then. What is no regular file, such as a pipe, is written to. A file is made
// with mode 0640 less the umask, like the logs, since it holds the same names.
// Errors: Cr_ErrnoException, naming the path.
void store(const std::string& path, std::string_view text);

}  // namespace report
