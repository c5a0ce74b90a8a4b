#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "catalog/walk/dirs_source.h"

namespace catalog {

// Hands out the policy directories that a function returns, until it returns an empty text.
//
// Threads: calls the function under its mutex.
class ListedDirs : public DirsSource {
 public:
  explicit ListedDirs(std::function<std::string()> next) : m_next(std::move(next)) {}

  std::string get_next_path() override {
    const boost::lock_guard<boost::mutex> guard(m_mutex);
    return m_is_stopped ? "" : m_next();
  }

  void stop() override {
    const boost::lock_guard<boost::mutex> guard(m_mutex);
    m_is_stopped = true;
  }

 private:
  boost::mutex m_mutex;
  std::function<std::string()> m_next BOOST_THREAD_GUARDED_BY(m_mutex);
  bool m_is_stopped BOOST_THREAD_GUARDED_BY(m_mutex) = false;
};

}  // namespace catalog
