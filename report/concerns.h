#pragma once

#include <string>
#include <vector>

#include "report/model.h"

namespace report {

// Something that an operator has to look at before acting on what a run says.
struct Concern {
  enum class About {
    run,
    warnings,
    options,
    share,
    whole_dirs,
    other_copies,
    failed,
    errors,
    names,
    counts,
    collisions
  };
  About about = About::run;
  std::string text;  // may hold bytes of a log
};

// The gravest first. None means only that the logs name nothing: a listing that was incomplete, or
// the wrong disk pool, leaves no trace in them.
std::vector<Concern> concerns_of(const ConsistencyDetails& details);
std::vector<Concern> concerns_of(const RepairDetails& details);
std::vector<Concern> concerns_of(const ScanDetails& details);

}  // namespace report
