#pragma once

#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "record/run_reader.h"

namespace catalog {

// Readers of one record, each lent to one worker at a time. Opening one for each directory would
// take longer than reading.
//
// Threads: every member may be called from any thread.
// Errors: those of RunReader.
class RecordReaders {
 public:
  explicit RecordReaders(std::string file) : m_file(std::move(file)) {}

  // Lends a reader for as long as the pointer lives. This object must outlive it.
  std::shared_ptr<record::RunReader> lend() {
    return {take().release(), [this](record::RunReader* reader) { give_back(Reader(reader)); }};
  }

 private:
  using Reader = std::unique_ptr<record::RunReader>;

  Reader take() {
    {
      const boost::lock_guard<boost::mutex> guard(m_mutex);
      if (!m_free.empty()) {
        Reader reader = std::move(m_free.back());
        m_free.pop_back();
        return reader;
      }
    }
    return std::make_unique<record::RunReader>(m_file);
  }

  void give_back(Reader reader) noexcept {
    try {
      const boost::lock_guard<boost::mutex> guard(m_mutex);
      m_free.push_back(std::move(reader));
    } catch (const std::exception&) {
      // Without memory to keep the reader, it is closed.
    }
  }

  const std::string m_file;
  boost::mutex m_mutex;
  std::vector<Reader> m_free BOOST_THREAD_GUARDED_BY(m_mutex);
};

}  // namespace catalog
