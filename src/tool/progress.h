#pragma once

#include <atomic>
#include <chrono>
#include <string>

#include "catalog/walk/dirs_counter.h"
#include "catalog/walk/ks_thread.h"
#include "console/status_line.h"

namespace catalog {
class BaseTraverseCatalog;
}

// How often the progress of a run is told unasked.
struct ProgressIntervals {
  std::chrono::steady_clock::duration on_terminal;
  std::chrono::steady_clock::duration in_run_log;
};

// While it lives, an operator sees that the run goes on: from a status line on the terminal, from
// lines in the run log, and on standard error whenever SIGUSR1 asks.
//
// The policy directories are counted when the progress is told for the first time, for no longer
// than one interval of the terminal at a time: a run that nobody looks at does nothing for it.
//
// Threads: made and destroyed on the main thread while the task has no workers; runs a thread of its
//   own, which is joined on destruction. traversal_is_over from the main thread.
// Ownership: refers to the task, which must outlive it.
// Errors: without a thread the run goes on, with a warning in the run log and no progress.
class Progress {
 public:
  Progress(const catalog::BaseTraverseCatalog& task, const ProgressIntervals& intervals);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // From now on no more directories are visited, but the task goes on.
  void traversal_is_over() { m_traversal_is_over = true; }

 private:
  using Clock = std::chrono::steady_clock;

  void run(Ks_Thread<Progress>* thread);
  Clock::time_point next_deadline() const;
  void tell_what_is_due();
  std::string text();

  const catalog::BaseTraverseCatalog& m_task;
  const ProgressIntervals m_intervals;
  const Clock::time_point m_start = Clock::now();
  std::atomic<bool> m_traversal_is_over{false};
  std::atomic<bool> m_at_end{false};
  console::StatusLine m_line;

  // The thread's own.
  Clock::time_point m_next_on_terminal;
  Clock::time_point m_next_in_run_log;
  catalog::DirsCounter m_dirs;

  Ks_Thread<Progress> m_thread;
};
