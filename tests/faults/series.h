#pragma once

#include <string>
#include <vector>

#include "tests/faults/subject.h"
#include "tests/faults/verdict.h"

namespace sandbox::faults {

// A fault that a run meets.
struct Fault {
  std::string name;
  Intent intent = Intent::kill;
  std::string what = {};  // as strace spells it; empty if it comes at any time
  bool from_then_on = false;
  std::string calls = {};  // the system calls that meet it
  bool is_random = false;  // a power cut
};

// A kill, the errors EIO and ENOSPC once and from a point on, signals, several runs at
// once, and power cuts.
const std::vector<Fault>& all_faults();

// Kills a repair half-way, and makes the result the initial state.
// Errors: as Subject; std::runtime_error if strace cannot trace, or the kill comes too late.
void stop_half_way(const Subject& subject);

// Runs the subject's task again and again with one fault, at the points that the settings select.
// Prints each broken promise, with the options that repeat the run, and the number of runs. Returns
// whether every run kept the promises. A series whose runs never meet the fault fails, except signals,
// which may come too late.
// Errors: as stop_half_way.
bool run_series(const Subject& subject, const Baseline& baseline, const Fault& fault);

}  // namespace sandbox::faults
