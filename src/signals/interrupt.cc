#include "signals/interrupt.h"

#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <string_view>

#include "console/status_line.h"
#include "signals/event.h"

namespace util {

namespace {

// When the first signal came, in nanoseconds of the monotonic clock; 0 before.
std::atomic<std::int64_t> s_first_signal_nanoseconds{0};
static_assert(std::atomic<std::int64_t>::is_always_lock_free, "set from a signal handler");

// Written in one call, so that output of other threads does not split it.
constexpr std::string_view k_erasing_notice =
    "\r\033[K"
    "Interrupted: the policy directories in hand are finished, then the run stops. "
    "A second signal ends it at once.\n";
static_assert(k_erasing_notice.substr(0, console::k_erase_line.size()) == console::k_erase_line);
constexpr std::string_view k_notice = k_erasing_notice.substr(console::k_erase_line.size());

std::atomic<bool> s_progress_asked{false};
Event s_progress_event;

std::int64_t now_nanoseconds() {
  constexpr std::int64_t k_second_nanoseconds = 1000000000;
  struct timespec now {};
  (void)::clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * k_second_nanoseconds + now.tv_nsec;
}

// Takes effect when the handler returns: the signal is blocked until then.
void take_default_action(int signal) {
  (void)::signal(signal, SIG_DFL);
  (void)::raise(signal);
}

// The handler itself writes the notice: workers may wait for a child for minutes.
void write_notice() {
  const std::string_view notice = console::StatusLine::may_be_shown() ? k_erasing_notice : k_notice;
  (void)!::write(STDERR_FILENO, notice.data(), notice.size());
}

void request_stop(int signal) {
  constexpr std::int64_t k_same_event_nanoseconds = 1000000000;
  const int saved_errno = errno;
  const std::int64_t now = now_nanoseconds();
  std::int64_t first = 0;
  if (s_first_signal_nanoseconds.compare_exchange_strong(first, now)) {
    write_notice();
  } else if (now - first >= k_same_event_nanoseconds) {
    take_default_action(signal);
  }
  errno = saved_errno;
}

void ask_for_progress(int /*signal*/) {
  const int saved_errno = errno;
  s_progress_asked.store(true);
  s_progress_event.set();
  errno = saved_errno;
}

// Not SIG_IGN: children would inherit that. One whose output is not read to its end would never end.
void do_nothing(int /*signal*/) {}

void install(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags =
      SA_RESTART;  // reads and waits go on; the run checks the flag between directories
  (void)::sigaction(signal, &action, nullptr);
}

}  // namespace

SignalGuard::SignalGuard() : m_saved{{{SIGINT, {}}, {SIGTERM, {}}, {SIGHUP, {}}}} {
  s_first_signal_nanoseconds.store(0);
  install(SIGPIPE, do_nothing);
  install(SIGXFSZ, do_nothing);
  // If the caller ignores it, waitpid does not return how a child ended.
  install(SIGCHLD, SIG_DFL);
  for (Saved& saved : m_saved) {
    (void)::sigaction(saved.signal, nullptr, &saved.action);
    if (saved.action.sa_handler != SIG_IGN) install(saved.signal, request_stop);
  }
}

SignalGuard::~SignalGuard() {
  if (interrupted()) return;
  for (const Saved& saved : m_saved) (void)::sigaction(saved.signal, &saved.action, nullptr);
}

void catch_progress_requests() {
  install(SIGUSR1, ask_for_progress);
}

bool progress_was_asked_for() {
  return s_progress_asked.exchange(false);
}

Event& progress_event() {
  return s_progress_event;
}

bool interrupted() {
  return s_first_signal_nanoseconds.load(std::memory_order_relaxed) != 0;
}

}  // namespace util
