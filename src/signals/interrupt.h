#pragma once

#include <signal.h>

#include <array>

namespace util {

class Event;

// Handles the process's signals while it lives.
//
// The first SIGINT, SIGTERM or SIGHUP writes a notice to standard error and asks the run to stop early.
// Another one within a second is the same event: a terminal that closes and `timeout` signal twice. A
// later one takes its default action. A signal that the caller ignores (nohup, a background job) stays
// ignored.
//
// SIGPIPE and SIGXFSZ do nothing, so that the write fails instead of the run. They stay caught, because
// streams are flushed as the process ends. They are not ignored or blocked: children would inherit that.
//
// SIGCHLD takes its default action from then on.
//
// Threads: made and destroyed on the main thread while no other runs; one at a time.
// Errors: none. The destructor restores the first three, unless one of them has come: another one of
//   the same event must not end the process while it reports its end.
class SignalGuard {
 public:
  SignalGuard();
  ~SignalGuard();
  SignalGuard(const SignalGuard&) = delete;
  SignalGuard& operator=(const SignalGuard&) = delete;

 private:
  struct Saved {
    int signal;
    struct sigaction action;
  };
  std::array<Saved, 3> m_saved;
};

// Whether a signal has asked the run to stop early. Threads: any.
bool interrupted();

// Catches SIGUSR1 until the process ends: it asks for the run's progress, and its default action would
// end the run half-way. Not ignored or blocked, as SIGPIPE.
void catch_progress_requests();

// Whether SIGUSR1 has come since the last call. Threads: any.
bool progress_was_asked_for();

// Set by SIGUSR1.
Event& progress_event();

}  // namespace util
