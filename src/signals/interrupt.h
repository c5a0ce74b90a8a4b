#pragma once

#include <signal.h>

#include <array>

namespace util {

class Event;

// While one lives: the first SIGINT, SIGTERM or SIGHUP says so on standard error and asks the run
// to stop early. One that arrives within a second of the first belongs to the same event: a terminal
// that closes and `timeout` signal twice. A later one takes its default action. A signal that the
// caller ignores (nohup, a job in the background) stays ignored, each for itself.
//
// SIGPIPE and SIGXFSZ are caught from then on and do nothing, so that the write fails instead: a
// closed standard output or a limit on the size of files does not end a run half-way. They stay
// caught, since what a stream still holds is written as the process ends. They are not ignored or
// blocked, which children would inherit.
//
// SIGCHLD takes its default action from then on.
//
// Threads: made and destroyed on the main thread while no other runs; one at a time.
// Errors: none; the destructor restores the three unless one of them has come: what belongs to that
//   event must not end the process while it reports its end.
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

// Whether a signal has asked the run to stop early. May be called from any thread.
bool interrupted();

// Catches SIGUSR1 for as long as the process lives: it asks how far the run is, and its default action
// would end a run half-way. Not ignored or blocked, as SIGPIPE.
void catch_progress_requests();

// Whether SIGUSR1 has come since this was asked last, however often. May be called from any thread.
bool progress_was_asked_for();

// Rung by SIGUSR1; waited for by whoever answers it.
Event& progress_event();

}  // namespace util
