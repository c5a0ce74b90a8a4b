#pragma once

#include <string>

#include "tests/faults/subject.h"

namespace sandbox::faults {

// A run without a fault, with which the others are compared.
struct Baseline {
  State before;
  State after;
  Reports reports;
  record::Run record;
};

// Restores the subject and runs it.
// Errors: Cr_ErrnoException if the run fails, or does not do its task.
Baseline run_baseline(const Subject& subject);

// The purpose of a fault: end the run, make a step of it fail, ask it to stop, start others beside it, or
// end it and lose what was not synced.
enum class Intent { kill, fail, interrupt, compete, cut_power };

// The fault of one run.
struct Disturbance {
  Intent intent = Intent::kill;
  int signal = 0;           // the signal that was sent
  bool mutes = false;       // from a point on, writes to logs and streams fail
  bool keeps_lock = false;  // the lock file cannot be removed, or not safely
  bool is_undone = true;    // at the end all runs are undone
};

// Checks the promises for a run with a fault, and then runs the program again. Returns the broken
// promises, a line each.
//
// The promises: The databases are intact. No PO is lost or changed, except those that the baseline of a
// deletion deletes. A run with exit status 0 has done all its work and reported it; what is unfinished
// is on standard error. Its record is readable and has the end of the run, unless the run was killed or
// reports why not. A failed run says why, does not crash or hang, and removes its lock, unless it was
// killed. The next run ends in the same state as the baseline.
std::string judge(const Subject& subject, const Baseline& baseline, const Ended& ended,
                  const Disturbance& disturbance);

// Checks the promises on the metadata after any runs, none of which still runs, and then runs the program
// again, as judge does.
std::string judge_storage(const Subject& subject, const Baseline& baseline);

}  // namespace sandbox::faults
