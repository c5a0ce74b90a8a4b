#pragma once

#include <string>
#include <vector>

#include "report/model.h"

namespace report {

struct Metrics {
  std::string text;  // in the text format of Prometheus, which readers of OpenMetrics accept too
  std::vector<Fault> faults;
};

// The newest run of each task in the log directory that `words` names, or else in the configured one, and
// the state of its storage. No label has a name from a storage, so the number of time series is bounded.
// Memory does not grow with the records.
// Errors: as of find_runs; std::invalid_argument if `words` are not one directory at most. A record that
// cannot be read becomes a fault.
Metrics make_metrics(const Texts& words);

}  // namespace report
