#pragma once

#include <sched.h>
#include <signal.h>

#include "tests/scenario/scenario.h"

namespace scenario {

// ThreadSanitizer holds signals back while a thread waits inside the C library.
#ifdef MDFIXUP_SIGNALS_DEFERRED
constexpr bool k_signals_are_deferred = true;
#else
constexpr bool k_signals_are_deferred = false;
#endif

// Three directories. A dry run pauses in the first one until go_on().
class PausingScene : public Scene {
 public:
  PausingScene() {
    put_own(*this, {"hosta", "hostb", "hostc"}, {});
    sh("mkfifo ready go");
    // The first call reports itself and waits; the others log their arguments.
    script("tvimagequery", "cd " + root().string() +
                               "; if mkdir first 2>/dev/null; then echo > ready; read line < go; "
                               "else echo \"$*\" >> calls; fi\nexit 227\n");
  }

  void await_pause() const { read_text(root() / "ready"); }
  void go_on() const { write_text(root() / "go", "\n"); }
  std::string later_calls() const { return read_text(root() / "calls"); }
};

inline Words dry_run_on(const std::string& threads, const Words& more = {}) {
  return joined(joined(k_dry_run, {"--num_threads", threads}), more);
}

// Such a run, paused.
class PausedRun {
 public:
  explicit PausedRun(const char* threads = "1", const Words& more = {})
      : m_child(m_scene.start(dry_run_on(threads, more))) {
    m_scene.await_pause();
  }

  // Sends a signal, and waits until the run has printed a line about it.
  void send_and_await_line(int signal) {
    m_child->send(signal);
    while (!k_signals_are_deferred && !contains(m_child->err(), "\n")) ::sched_yield();
  }

  Ended go_on() {
    m_scene.go_on();
    return m_child->wait();
  }

  Child& child() { return *m_child; }
  const PausingScene& scene() const { return m_scene; }

 private:
  const PausingScene m_scene;
  const std::unique_ptr<Child> m_child;
};

}  // namespace scenario
