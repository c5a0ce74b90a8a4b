#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "report/model.h"

namespace report {

enum class Scope { all, runs, images };

// What is asked for.
struct Request {
  Texts words;                              // as of find_runs
  std::function<std::string()> configured;  // the same
  Scope scope = Scope::all;
  std::int64_t most_rows = -1;  // that the view shows of a table
};

// Reads the records: of all runs what the table of runs says and, in detail, those that were named, or
// else of each directory the newest run of each task.
// Errors: those of `configured`. A record that cannot be read is a fault of the report.
Report make_report(const Request& request);

}  // namespace report
