#pragma once

#include <semaphore.h>

#include <chrono>

namespace util {

// One thread waits for the event; other threads and signal handlers set it. It stays set until a wait
// or a reset.
//
// Threads: set from any thread or signal handler, the others from one thread.
class Event {
 public:
  Event() noexcept;
  // Destroys nothing: a handler may set a static event until the process ends.
  ~Event() = default;
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  void set() noexcept;

  void reset() noexcept;

  // Waits until the event is set, until `deadline`, or until a signal was handled.
  void wait_until(std::chrono::steady_clock::time_point deadline) noexcept;

 private:
  sem_t m_semaphore{};
};

}  // namespace util
