#pragma once

#include <semaphore.h>

#include <chrono>

namespace util {

// What one thread waits for and others ring, signal handlers among them. A ring is kept until it was
// waited for.
//
// Threads: ring from any thread or signal handler, the others from one thread.
class Event {
 public:
  Event() noexcept;
  // Nothing is destroyed: a handler may ring one of the process's to the very end.
  ~Event() = default;
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  void set() noexcept;

  // Forgets all rings so far.
  void reset() noexcept;

  // Waits for a ring; returns without one at `deadline`, or earlier where a signal was handled.
  void wait_until(std::chrono::steady_clock::time_point deadline) noexcept;

 private:
  sem_t m_semaphore{};
};

}  // namespace util
