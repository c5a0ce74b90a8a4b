#pragma once

#include <signal.h>

#include <array>

namespace util {

// While one lives: the first SIGINT, SIGTERM or SIGHUP says so on standard error and asks the run
// to stop early; a second one takes its default action. A SIGHUP that the caller ignores (nohup)
// stays ignored.
//
// SIGPIPE is caught from then on and does nothing, so that a closed standard output does not end a
// run half-way; it stays caught, since what a stream still holds is written as the process ends.
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

}  // namespace util
