#pragma once

#include "tests/faults/series.h"
#include "tests/faults/subject.h"
#include "tests/faults/verdict.h"

namespace sandbox::faults {

// Records one run of the subject's task, cuts the power after its calls, and checks what each cut leaves
// as after a kill. The cuts:
//   synced:  only what was synced has reached the disk;
//   only:    and one change more;
//   without: all changes but one;
//   random:  each change has reached it or not, bytes also in part. Only for a random fault.
// All are tried, or settings.points: those with only what was synced first, then an even share of the
// others. Of cuts that leave the same files, one is tried. Needs a task that changes something, and one
// thread. After each eighth, all runs are undone. Prints and returns what run_series does.
// Errors: as Subject; std::runtime_error if strace cannot trace the run, or the replay does not know a
//   call.
bool run_power_cuts(const Subject& subject, const Baseline& baseline, const Fault& fault);

}  // namespace sandbox::faults
