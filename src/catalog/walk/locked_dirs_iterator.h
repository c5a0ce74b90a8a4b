#pragma once

#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "catalog/walk/dirs_iterator.h"
#include "catalog/walk/dirs_source.h"

namespace catalog {

// Hands out the policy directories of one metadata tree to several workers, each directory once.
//
// Threads: every member may be called from any thread. The walk and the log lines of its DSID
//   filter run under the mutex.
// Ownership: refers to the log file, which must outlive it.
// Errors: filesystem_error when a directory cannot be read, WalkRootChanged when the root is gone.
class LockedDirsIterator : public DirsSource {
 public:
  LockedDirsIterator(const boost::filesystem::path& root, dct::util::LogFile* log);

  std::string get_next_path() override;
  void stop() override;

 private:
  boost::mutex m_mutex;
  DirsIterator m_walk BOOST_THREAD_GUARDED_BY(m_mutex);
  const DirsIterator m_end;
  bool m_first_call BOOST_THREAD_GUARDED_BY(m_mutex) = true;
};

}  // namespace catalog
