#pragma once

#include <set>
#include <string>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

namespace util {

class KeyLock;

// Locks with names, any number of which may be held at once.
class KeyLocks {
  friend class KeyLock;

  boost::mutex m_mutex;
  boost::condition_variable m_released;
  std::set<std::string> m_held BOOST_THREAD_GUARDED_BY(m_mutex);
};

// Holds the lock of one name while it lives.
//
// Threads: any. A thread that holds one must not ask for another: two such threads could deadlock.
class KeyLock {
 public:
  // Waits until the lock is free.
  KeyLock(KeyLocks& locks, const std::string& key);
  ~KeyLock();
  KeyLock(const KeyLock&) = delete;
  KeyLock& operator=(const KeyLock&) = delete;

 private:
  KeyLocks& m_locks;
  const std::string m_key;
};

}  // namespace util
