#pragma once

#include <string>
#include <string_view>

namespace report {

// Makes the file at `path` hold `page`, whole or not at all: it is written beside its place, stored, and
// put there then. Only another page is replaced: a log, or a database, that was named by mistake may
// be the only record of something. What is no regular file, such as a pipe, is written to. A link is
// replaced, and what it leads to stays. A new file has mode 0640 less the umask, like the logs, since
// it holds the same names; one that is replaced keeps its mode.
// Errors: Cr_ErrnoException, naming the path.
void store(const std::string& path, std::string_view page);

}  // namespace report
