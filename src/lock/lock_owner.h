#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

namespace util {

// What an operator has to know of a lock file that is in the way, as one line: the process that it
// names, whether that is alive and is this program, and what to do.
// Threads: may be called from any thread that holds no lock on the file; others would lose theirs.
std::string describe_lock_file(const boost::filesystem::path& path);

}  // namespace util
