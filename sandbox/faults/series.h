#pragma once

#include <random>
#include <string>
#include <vector>

#include "sandbox/faults/fault.h"
#include "sandbox/faults/injection.h"
#include "sandbox/faults/subject.h"
#include "sandbox/faults/verdict.h"

namespace sandbox::faults {

// Which moments of a run are tried.
struct Moments {
  std::string calls;    // system calls, as strace names them; the fault's own when empty
  std::string at;       // one moment alone, "call:n"; all when empty
  unsigned points = 0;  // so many, drawn at random; 0 for all, but for one signal
  unsigned seed = 1;
  bool all_threads = false;
  std::string options;  // the others that a run needs to be repeated
};

// The runs of one task under one fault. Prints what breaks a promise, with the options that repeat
// it, and how many runs there were. A series in which no run met the fault counts as failed, but for
// signals, which may come too late.
//
// Threads: one thread.
// Ownership: refers to what it is given, which must outlive it.
// Errors: as Subject; Cr_ErrnoException when strace cannot trace.
class Series {
 public:
  Series(const Moments& moments, const Subject& subject, const Undisturbed& undisturbed,
         const Fault& fault);

  // Returns whether every run kept what is promised.
  bool run();

 private:
  void inject_at(const Point& point);
  void send_signals();
  std::vector<Point> draw_points();
  void judge(const Ended& ended, const Disturbance& disturbance, const std::string& moment);

  const Moments& m_moments;
  const Subject& m_subject;
  const Undisturbed& m_undisturbed;
  const Fault& m_fault;
  std::mt19937 m_random;
  unsigned m_runs = 0;
  unsigned m_struck = 0;
  unsigned m_failures = 0;
};

}  // namespace sandbox::faults
