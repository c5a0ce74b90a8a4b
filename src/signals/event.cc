#include "signals/event.h"

#include <time.h>

namespace util {

Event::Event() noexcept {
  (void)::sem_init(&m_semaphore, 0, 0);  // fails only for a value above the maximum
}

void Event::set() noexcept {
  (void)::sem_post(&m_semaphore);  // fails only at the maximum, when the event is set already
}

void Event::reset() noexcept {
  while (::sem_trywait(&m_semaphore) == 0) {
  }
}

void Event::wait_until(std::chrono::steady_clock::time_point deadline) noexcept {
  using std::chrono::nanoseconds;
  using std::chrono::seconds;
  const auto since_epoch = deadline.time_since_epoch();
  const auto whole = std::chrono::duration_cast<seconds>(since_epoch);
  struct timespec time {};
  time.tv_sec = whole.count();
  time.tv_nsec = std::chrono::duration_cast<nanoseconds>(since_epoch - whole).count();
  (void)::sem_clockwait(&m_semaphore, CLOCK_MONOTONIC, &time);
}

}  // namespace util
