#include "lock/key_locks.h"

#include <exception>

#include <boost/thread/lock_types.hpp>

namespace util {

void KeyLocks::lock(const std::string& key) BOOST_THREAD_NO_THREAD_SAFETY_ANALYSIS {
  boost::unique_lock<boost::mutex> lock(m_mutex);
  while (!m_held.insert(key).second) m_released.wait(lock);
}

void KeyLocks::unlock(const std::string& key) {
  {
    const boost::lock_guard<boost::mutex> guard(m_mutex);
    m_held.erase(key);
  }
  m_released.notify_all();
}

KeyLock::~KeyLock() {
  try {
    m_locks.unlock(m_key);
  } catch (...) {
    std::terminate();  // a lock that is never released would hang the process
  }
}

}  // namespace util
