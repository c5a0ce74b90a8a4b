#pragma once

#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace sandbox::faults {

// A system call that did not fail, in a trace of strace.
struct TracedCall {
  std::string name;
  // The arguments. A string has its bytes, a descriptor the path of its file, the rest its spelling.
  std::vector<std::string> words;
  std::string result;
};

// The words that precede a command to write all calls that change or sync files to this file.
std::vector<std::string> trace_changes(const boost::filesystem::path& trace);

// The calls in that file, in their order.
// Errors: std::runtime_error for a line that cannot be read.
std::vector<TracedCall> traced_calls(const boost::filesystem::path& trace);

}  // namespace sandbox::faults
