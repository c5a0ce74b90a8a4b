#include "tool/progress.h"

#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <cstring>
#include <exception>

#include "catalog/walk/base_traverse_catalog.h"
#include "console/run_log.h"
#include "console/standard_streams.h"
#include "signals/event.h"
#include "signals/interrupt.h"
#include "tool/progress_text.h"

namespace {

// A shell may have the terminal stop whoever writes to it from the background, and the run may get
// there between a look and a write. The thread starts no children, which would inherit this.
void write_from_background_without_being_stopped() {
  sigset_t signals;
  (void)::sigemptyset(&signals);
  (void)::sigaddset(&signals, SIGTTOU);
  (void)::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

Progress::Progress(const catalog::BaseTraverseCatalog& task, const ProgressIntervals& intervals)
    : m_task(task),
      m_intervals(intervals),
      m_next_on_terminal(m_start + intervals.on_terminal),
      m_next_in_run_log(m_start + intervals.in_run_log),
      m_dirs(task.tree_root(), [&task](const auto& dir) { return task.wants(dir); }),
      m_thread(&Progress::run, this, 0, 0) {
  (void)util::progress_was_asked_for();  // there was none before the task
  util::progress_bell().silence();
  const int error = m_thread.create();
  if (error != 0) {
    WarningA(std::string("the progress of the run cannot be told: ") + std::strerror(error));
  }
}

Progress::~Progress() {
  m_at_end = true;
  util::progress_bell().ring();
  m_thread.join();
}

void Progress::run(Ks_Thread<Progress>* thread) {
  write_from_background_without_being_stopped();
  bool at_end = false;
  while (!at_end) {
    util::progress_bell().wait_until(next_deadline());
    // In this order: who asked before the end gets an answer.
    at_end = m_at_end;
    try {
      if (util::progress_was_asked_for()) console::try_standard_error(text() + "\n");
      if (!at_end) tell_what_is_due();
    } catch (const std::exception&) {
      // Without memory for a line there may be some for the next one.
    }
  }
  (void)m_line.erase();    // what is left of it goes with the line itself
  thread->request_stop();  // one call
}

Progress::Clock::time_point Progress::next_deadline() const {
  if (!console::StatusLine::is_in_use()) return m_next_in_run_log;
  return std::min(m_next_on_terminal, m_next_in_run_log);
}

// From now, not from when it was due: a run that was stopped for an hour owes no lines for it.
void Progress::tell_what_is_due() {
  const Clock::time_point now = Clock::now();
  if (now >= m_next_in_run_log) {
    m_next_in_run_log = now + m_intervals.in_run_log;
    InfoA("progress: " + text());
  }
  if (now >= m_next_on_terminal) {
    m_next_on_terminal = now + m_intervals.on_terminal;
    if (console::StatusLine::is_in_use()) m_line.show(text());
  }
}

std::string Progress::text() {
  const bool is_over = m_traversal_is_over;
  const std::optional<std::uint64_t> known = m_task.number_of_dirs();
  if (!is_over && !known) {
    m_dirs.count_until([this, until = Clock::now() + m_intervals.on_terminal] {
      return m_at_end || Clock::now() >= until;
    });
  }
  const catalog::RunTotals& totals = m_task.totals();
  ProgressState state;
  state.failed_dirs = totals.failed_dirs();
  state.done_dirs = totals.done_dirs();
  state.total_dirs = known ? known : m_dirs.total();
  state.findings = m_task.findings();
  const std::optional<catalog::TaskStep> step = is_over ? std::nullopt : m_task.step();
  state.time = Clock::now() - (step ? step->start : m_start);
  if (step && step->dirs) state.total_dirs = step->dirs;
  if (is_over) state.phase = ProgressState::Phase::finishing;
  if (util::interrupted()) state.phase = ProgressState::Phase::stopping;
  if (!step) return progress_text(state);
  return step->name + ": " +
         (step->images ? listing_progress_text(state, *step->images) : progress_text(state));
}
