#pragma once

#include <set>
#include <string>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

namespace util {

// Locks with names. Any number of them may be held at once.
//
// Threads: every member may be called from any thread.
class KeyLocks {
 public:
  // Waits until the lock of that name is free, and takes it. A thread that holds one must not ask for
  // another: two such threads could deadlock.
  void lock(const std::string& key);

  // Releases a lock that the caller holds.
  void unlock(const std::string& key);

 private:
  boost::mutex m_mutex;
  boost::condition_variable m_released;
  std::set<std::string> m_held BOOST_THREAD_GUARDED_BY(m_mutex);
};

// Holds one of the locks while it lives.
class KeyLock {
 public:
  KeyLock(KeyLocks& locks, const std::string& key) : m_locks(locks), m_key(key) {
    m_locks.lock(m_key);
  }
  ~KeyLock();
  KeyLock(const KeyLock&) = delete;
  KeyLock& operator=(const KeyLock&) = delete;

 private:
  KeyLocks& m_locks;
  const std::string m_key;
};

}  // namespace util
