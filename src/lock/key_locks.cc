#include "lock/key_locks.h"

#include <exception>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>

namespace util {

KeyLock::KeyLock(KeyLocks& locks, const std::string& key) BOOST_THREAD_NO_THREAD_SAFETY_ANALYSIS
    : m_locks(locks),
      m_key(key) {
  boost::unique_lock<boost::mutex> lock(m_locks.m_mutex);
  while (!m_locks.m_held.insert(m_key).second) m_locks.m_released.wait(lock);
}

KeyLock::~KeyLock() {
  try {
    const boost::lock_guard<boost::mutex> guard(m_locks.m_mutex);
    m_locks.m_held.erase(m_key);
  } catch (...) {
    std::terminate();  // a lock that is never released would hang the process
  }
  m_locks.m_released.notify_all();
}

}  // namespace util
