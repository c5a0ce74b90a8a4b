#pragma once

#include <string>

#include "tests/faults/subject.h"

namespace sandbox::faults {

// The run that nothing disturbed, against which the others are held.
struct Baseline {
  State before;
  State after;
  Reports reports;
  record::Run record;
};

// Restores the subject and runs it.
// Errors: Cr_ErrnoException when not even that run ends well, or when it does not do its task.
Baseline run_baseline(const Subject& subject);

// What a fault is meant to do to the run itself: end it, make a step of it fail, ask it to stop.
enum class Intent { kill, fail, interrupt };

// What was done to one run.
struct Disturbance {
  Intent intent = Intent::kill;
  int signal = 0;           // the one that was sent
  bool mutes = false;       // nothing can be written to logs or streams from then on
  bool keeps_lock = false;  // the lock's file cannot be removed, or not without danger
};

// Holds the storage, and what the run told, against what is promised of a run that met a fault, and
// then runs the program again. Returns what is wrong, a line each; empty when all is well.
//
// Promised is: the databases are sound; no PO is lost or changed, but for those that the baseline
// deletion takes; a run that ends with 0 has done everything but what it tells on standard error, and
// told everything; its record can be read, and unless it was killed says how the run ended, or the run
// says why not; one that does not end with 0 says why, has not crashed or hung and has taken its lock away, but
// for one that was killed; and the next run ends where an baseline one does.
std::string judge(const Subject& subject, const Baseline& baseline, const Ended& ended,
                  const Disturbance& disturbance);

}  // namespace sandbox::faults
