#pragma once

#include "tests/faults/subject.h"
#include "tests/faults/verdict.h"

namespace sandbox::faults {

// Starts the subject's task several times on one storage at random moments, and kills or stops some of
// the runs. Then removes a lock that a killed run left, as an operator does, and starts two runs at
// once. Repeats this for each of the points of the settings.
//
// Prints each broken promise with the seed, and how often it was tried. Returns whether the promises
// were kept: Never are two runs at work. A run works, or says why it does not. Only a killed run leaves
// its lock file, and nothing holds that. The storage is as judge_storage requires.
// Errors: as Subject.
bool run_pairs(const Subject& subject, const Baseline& baseline);

}  // namespace sandbox::faults
