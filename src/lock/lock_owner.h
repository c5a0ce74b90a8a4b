#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

namespace util {

// Describes a lock file that blocks the run, in one line: the process that it names, whether that
// process is alive and is this program, and what to do.
// Threads: any. Do not call it while this process holds a record lock on the file: it would lose it.
std::string describe_lock_file(const boost::filesystem::path& path);

}  // namespace util
