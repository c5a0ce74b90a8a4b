#pragma once

#include <vector>

#include "report/contents.h"
#include "report/run_file.h"

namespace report {

// What to look at before acting on the run, the gravest first. None means only that the record names
// nothing: a listing that was incomplete, or the wrong disk pool, leaves no trace in it. `all` holds the
// run and all others, newest first.
std::vector<Concern> concerns_of(const RunFile& file, const Contents& contents,
                                 const std::vector<RunFile>& all);

}  // namespace report
