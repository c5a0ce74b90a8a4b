#pragma once

#include <cstdint>

#include "report/model.h"

namespace report {

struct Request {
  Texts words;  // as of find_runs
  Scope scope = Scope::all;
  bool is_comparison = false;  // of the two records among the words, the old one first
  std::int64_t max_rows = -1;  // of a table in the view
};

// Makes the table of all runs, and the details of the named runs. If none is named, the newest run of
// each task in each directory is shown in detail.
// Errors: as of find_runs; std::invalid_argument if a comparison does not name two runs that list
// orphans. A record that cannot be read becomes a fault of the report.
Report make_report(const Request& request);

}  // namespace report
