#include "mtstrm/resource_counter.h"

#include <exception>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>

namespace mtstrm::server {

struct ResourceCounterImpl {
  boost::mutex mutex;
  boost::condition_variable_any none_left;
  const std::string name;  // read in a debugger
  unsigned count BOOST_THREAD_GUARDED_BY(mutex) = 0;
};

ResourceCounter::ResourceCounter(const std::string& name)
    : m_impl(new ResourceCounterImpl{{}, {}, name}) {}

ResourceCounter::~ResourceCounter() {
  m_impl->none_left.notify_all();
}

void ResourceCounter::increment() {
  const boost::lock_guard<boost::mutex> guard(m_impl->mutex);
  ++m_impl->count;
}

void ResourceCounter::decrement() {
  bool none_left = false;
  {
    const boost::lock_guard<boost::mutex> guard(m_impl->mutex);
    none_left = m_impl->count != 0 && --m_impl->count == 0;
  }
  if (none_left) m_impl->none_left.notify_all();
}

void ResourceCounter::waitForNoReferences() const BOOST_THREAD_NO_THREAD_SAFETY_ANALYSIS {
  boost::unique_lock<boost::mutex> lock(m_impl->mutex);
  while (m_impl->count != 0) m_impl->none_left.wait(lock);
}

AutoResourceCount::AutoResourceCount(ResourceCounter& counter, bool increment_now)
    : m_counter(counter) {
  if (increment_now) m_counter.increment();
}

AutoResourceCount::~AutoResourceCount() {
  try {
    m_counter.decrement();
  } catch (...) {
    std::terminate();  // a count that stays would hang the process
  }
}

}  // namespace mtstrm::server
