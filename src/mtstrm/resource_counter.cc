#include "mtstrm/resource_counter.h"

#include <exception>

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>

namespace mtstrm::server {

class ResourceCounterImpl {
 public:
  explicit ResourceCounterImpl(const std::string& name) : m_name(name) {}
  ResourceCounterImpl(const ResourceCounterImpl&) = delete;
  ResourceCounterImpl& operator=(const ResourceCounterImpl&) = delete;
  ~ResourceCounterImpl() { m_none_left.notify_all(); }

  void increment() {
    const boost::lock_guard<boost::mutex> guard(m_mutex);
    ++m_count;
  }

  void decrement() {
    if (take_one_away()) m_none_left.notify_all();
  }

  unsigned wait(unsigned timeout_seconds) BOOST_THREAD_NO_THREAD_SAFETY_ANALYSIS {
    boost::unique_lock<boost::mutex> lock(m_mutex);
    if (timeout_seconds == 0) {
      while (m_count != 0) m_none_left.wait(lock);
      return 0;
    }
    const auto deadline = boost::posix_time::second_clock::universal_time() +
                          boost::posix_time::seconds(timeout_seconds);
    while (m_count != 0 && m_none_left.timed_wait(lock, deadline)) {
    }
    return m_count;
  }

 private:
  // Whether that left none.
  bool take_one_away() {
    const boost::lock_guard<boost::mutex> guard(m_mutex);
    return m_count != 0 && --m_count == 0;
  }

  boost::mutex m_mutex;
  boost::condition_variable_any m_none_left;
  const std::string m_name;  // for whoever looks at the process in a debugger
  unsigned m_count BOOST_THREAD_GUARDED_BY(m_mutex) = 0;
};

ResourceCounter::ResourceCounter(const std::string& name) : m_impl(new ResourceCounterImpl(name)) {}
ResourceCounter::~ResourceCounter() = default;

void ResourceCounter::increment() {
  m_impl->increment();
}
void ResourceCounter::decrement() {
  m_impl->decrement();
}

unsigned ResourceCounter::waitForNoReferences(unsigned timeout_seconds) const {
  return m_impl->wait(timeout_seconds);
}

AutoResourceCount::AutoResourceCount(ResourceCounter& counter, bool increment_now)
    : m_counter(counter) {
  if (increment_now) m_counter.increment();
}

AutoResourceCount::~AutoResourceCount() {
  try {
    m_counter.decrement();
  } catch (...) {
    std::terminate();  // a count that is never given back would hang the process
  }
}

}  // namespace mtstrm::server
