#include "util/interrupt.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string_view>

#include "platform/status_line.h"
#include "util/bell.h"

namespace util {

namespace {

std::atomic<bool> s_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");

constexpr std::array k_stop_signals{SIGINT, SIGTERM, SIGHUP};

// One text, written in one call: what other threads write at the same time stands before or behind it.
constexpr std::string_view k_erasing_notice =
    "\r\033[K"
    "Interrupted: the policy directories in hand are finished, then the run stops. "
    "A second signal ends it at once.\n";
static_assert(k_erasing_notice.substr(0, platform::k_erase_line.size()) == platform::k_erase_line);
constexpr std::string_view k_notice = k_erasing_notice.substr(platform::k_erase_line.size());

std::atomic<bool> s_progress_asked{false};
Bell s_progress_bell;

void request_stop(int /*signal*/) {
  const int saved_errno = errno;
  struct sigaction by_default {};
  by_default.sa_handler = SIG_DFL;
  for (const int signal : k_stop_signals) (void)::sigaction(signal, &by_default, nullptr);
  s_interrupted.store(true);
  // Workers may wait for a child for minutes, so the notice cannot wait for one of them.
  const std::string_view notice =
      platform::StatusLine::may_be_shown() ? k_erasing_notice : k_notice;
  (void)!::write(STDERR_FILENO, notice.data(), notice.size());
  errno = saved_errno;
}

void ask_for_progress(int /*signal*/) {
  const int saved_errno = errno;
  s_progress_asked.store(true);
  s_progress_bell.ring();
  errno = saved_errno;
}

// Not SIG_IGN: children would inherit that, and one that we stop reading would never end.
void do_nothing(int /*signal*/) {}

void install(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;  // reads and waits go on; the flag is looked at between directories
  (void)::sigaction(signal, &action, nullptr);
}

}  // namespace

SignalGuard::SignalGuard() : m_saved{{{SIGINT, {}}, {SIGTERM, {}}, {SIGHUP, {}}}} {
  s_interrupted.store(false);
  install(SIGPIPE, do_nothing);
  // A caller that ignores it would keep us from learning how a child ended.
  install(SIGCHLD, SIG_DFL);
  for (Saved& saved : m_saved) {
    (void)::sigaction(saved.signal, nullptr, &saved.action);
    const bool kept_ignored = saved.signal == SIGHUP && saved.action.sa_handler == SIG_IGN;
    if (!kept_ignored) install(saved.signal, request_stop);
  }
}

SignalGuard::~SignalGuard() {
  for (const Saved& saved : m_saved) (void)::sigaction(saved.signal, &saved.action, nullptr);
}

void catch_progress_requests() {
  install(SIGUSR1, ask_for_progress);
}

bool progress_was_asked_for() {
  return s_progress_asked.exchange(false);
}

Bell& progress_bell() {
  return s_progress_bell;
}

bool interrupted() {
  return s_interrupted.load(std::memory_order_relaxed);
}

}  // namespace util
