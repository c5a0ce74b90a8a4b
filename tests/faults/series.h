#pragma once

#include <string>
#include <vector>

#include "tests/faults/subject.h"
#include "tests/faults/verdict.h"

namespace sandbox::faults {

// What is done to a run.
struct Fault {
  std::string name;
  Intent intent = Intent::kill;
  std::string what;  // in strace's words; none for signals, which come at any time
  bool from_then_on = false;
};

// A kill, the errors EIO and ENOSPC once and from then on, and signals.
const std::vector<Fault>& all_faults();

// Kills a repair half-way, and makes what it left the beginning.
// Errors: as Subject; std::runtime_error when strace cannot trace, or no kill comes half-way.
void stop_half_way(const Subject& subject);

// Runs the subject's task again and again under one fault, at the moments that the settings name.
// Prints what breaks a promise, with the options that repeat it, and how many runs there were.
// Returns whether every run kept what is promised. A series in which no run met the fault counts as
// failed, but for signals, which may come too late.
// Errors: as stop_half_way.
bool run_series(const Subject& subject, const Baseline& baseline, const Fault& fault);

}  // namespace sandbox::faults
