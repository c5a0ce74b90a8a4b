#pragma once

#include <string>

#include <boost/scoped_ptr.hpp>

namespace mtstrm::server {

struct ResourceCounterImpl;

// Counts users of something, and lets a thread wait until there are none.
//
// Threads: every member may be called from any thread.
// Ownership: must outlive the AutoResourceCount objects that refer to it.
class ResourceCounter {
 public:
  explicit ResourceCounter(const std::string& name);
  ~ResourceCounter();
  ResourceCounter(const ResourceCounter&) = delete;
  ResourceCounter& operator=(const ResourceCounter&) = delete;

  void increment();

  // Does nothing at 0: the count never wraps.
  void decrement();

  // Waits until the count is 0.
  void waitForNoReferences() const;

 private:
  const boost::scoped_ptr<ResourceCounterImpl> m_impl;
};

// Decrements the counter on destruction; increments it before that if `increment_now`.
class AutoResourceCount {
 public:
  AutoResourceCount(ResourceCounter& counter, bool increment_now);
  ~AutoResourceCount();
  AutoResourceCount(const AutoResourceCount&) = delete;
  AutoResourceCount& operator=(const AutoResourceCount&) = delete;

 private:
  ResourceCounter& m_counter;
};

}  // namespace mtstrm::server
