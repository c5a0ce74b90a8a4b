#pragma once

#include <cstdint>

#include "report/model.h"

namespace report {

// What is asked for.
struct Request {
  Texts words;  // as of find_runs
  Scope scope = Scope::all;
  bool is_comparison = false;   // of the two records or runs among the words, the old one first
  std::int64_t most_rows = -1;  // that the view shows of a table
};

// Reads the records: of all runs what the table of runs says and, in detail, those that were named, or
// else of each directory the newest run of each task.
// Errors: as of find_runs; std::invalid_argument for a comparison of anything but two runs that list
// orphans. A record that cannot be read is a fault of the report.
Report make_report(const Request& request);

}  // namespace report
