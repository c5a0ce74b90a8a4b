#pragma once

#include <string>
#include <vector>

#include "sandbox/faults/subject.h"

namespace sandbox::faults {

// A moment of a run: before the n-th call, counted from 1, of a system call.
struct Point {
  std::string call;
  unsigned n = 1;
};

// Runs the subject from its beginning with strace counting, and returns every point at which a call
// that `calls` names (as strace does, with commas) was made, and one more for each of them. With
// several threads each thread and child counts for itself.
// Errors: Cr_ErrnoException when strace cannot trace.
std::vector<Point> points_of(const Subject& subject, const std::string& calls, bool all_threads);

// The words in front of a program that let strace do something at a point: `what` in its own terms,
// as "signal=KILL" or "error=EIO"; `from_then_on`, at every later call too. With several threads it
// is done in each thread and child that comes to the point. The calls are written to `trace`.
std::vector<std::string> inject(const Point& point, const std::string& what, bool from_then_on,
                                bool all_threads, const boost::filesystem::path& trace);

// Whether an error was injected, by what was written to the trace.
bool was_injected(const boost::filesystem::path& trace);

}  // namespace sandbox::faults
