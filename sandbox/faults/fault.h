#pragma once

#include <string>
#include <vector>

#include "sandbox/faults/verdict.h"

namespace sandbox::faults {

// What is done to a run.
struct Fault {
  std::string name;
  Intent intent = Intent::kill;
  std::string what;  // in strace's words; none for signals, which come at any time
  bool from_then_on = false;

  // The system calls at which it is tried, as strace names them.
  std::string calls() const;
};

// A kill, the errors EIO and ENOSPC once and from then on, and signals.
const std::vector<Fault>& all_faults();

}  // namespace sandbox::faults
