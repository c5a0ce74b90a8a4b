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

// How often the progress of a run is reported without a request.
struct ProgressIntervals {
  std::chrono::steady_clock::duration on_terminal;
  std::chrono::steady_clock::duration in_run_log;
};

// Reports the progress of a task while it lives: in a status line on the terminal, in lines of the run
// log, and on standard error when SIGUSR1 asks.
//
// The first report starts a count of the policy directories, which takes at most one interval of the
// terminal at a time. A short run without a terminal does not count them.
//
// Threads: made and destroyed on the main thread while the task has no workers; runs a thread of its
//   own, which the destructor joins. traversal_is_over from the main thread.
// Ownership: refers to the task, which must outlive it.
// Errors: if the thread cannot start, the run log has a warning and the run goes on without progress.
class Progress {
 public:
  Progress(const catalog::BaseTraverseCatalog& task, const ProgressIntervals& intervals);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // The task visits no more directories, but goes on.
  void traversal_is_over() { m_traversal_is_over = true; }

 private:
  using Clock = std::chrono::steady_clock;

  void run(Ks_Thread<Progress>* thread);
  Clock::time_point next_deadline() const;
  void report_what_is_due();
  std::string text();

  const catalog::BaseTraverseCatalog& m_task;
  const ProgressIntervals m_intervals;
  const Clock::time_point m_start = Clock::now();
  std::atomic<bool> m_traversal_is_over{false};
  std::atomic<bool> m_at_end{false};
  console::StatusLine m_line;

  // Used only by the thread.
  Clock::time_point m_next_on_terminal;
  Clock::time_point m_next_in_run_log;
  catalog::DirsCounter m_dirs;

  Ks_Thread<Progress> m_thread;
};
