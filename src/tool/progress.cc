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

// A terminal may stop a background process that writes to it, and the run may be put into the
// background between the check and the write. The thread starts no children, which would inherit this.
void block_stop_by_terminal() {
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
  (void)util::progress_was_asked_for();  // a request from before the task does not count
  util::progress_event().reset();
  const int error = m_thread.create();
  if (error != 0) {
    WarningA(std::string("the progress of the run cannot be told: ") + std::strerror(error));
  }
}

Progress::~Progress() {
  m_at_end = true;
  util::progress_event().set();
  m_thread.join();
}

void Progress::run(Ks_Thread<Progress>* thread) {
  block_stop_by_terminal();
  bool at_end = false;
  while (!at_end) {
    util::progress_event().wait_until(next_deadline());
    // In this order, so that a request before the end gets an answer.
    at_end = m_at_end;
    try {
      if (util::progress_was_asked_for()) console::try_standard_error(text() + "\n");
      if (!at_end) report_what_is_due();
    } catch (const std::exception&) {
      // There was no memory for this line; there may be some for the next one.
    }
  }
  (void)m_line.erase();    // if this fails, its destructor tries again
  thread->request_stop();  // one call
}

Progress::Clock::time_point Progress::next_deadline() const {
  if (!console::StatusLine::is_in_use()) return m_next_in_run_log;
  return std::min(m_next_on_terminal, m_next_in_run_log);
}

// The next interval starts now: a run that was stopped for an hour does not report for that hour.
void Progress::report_what_is_due() {
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
