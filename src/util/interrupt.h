#pragma once

#include <signal.h>

#include <array>

namespace util {

class Bell;

// While one lives: the first SIGINT, SIGTERM or SIGHUP says so on standard error and asks the run
// to stop early; a second one takes its default action. A SIGHUP that the caller ignores (nohup)
// stays ignored.
//
// SIGPIPE is caught from then on and does nothing, so that a closed standard output does not end a
// run half-way; it stays caught, since what a stream still holds is written as the process ends.
//
// SIGPIPE is not ignored or blocked, which children would inherit.
//
// SIGCHLD takes its default action from then on.
//
// Threads: made and destroyed on the main thread while no other runs; one at a time.
// Errors: none; the destructor restores the three.
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
Bell& progress_bell();

}  // namespace util
