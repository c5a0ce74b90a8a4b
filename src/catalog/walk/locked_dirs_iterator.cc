#include "catalog/walk/locked_dirs_iterator.h"

#include <utility>

namespace catalog {

LockedDirsIterator::LockedDirsIterator(const boost::filesystem::path& root, dct::util::LogFile* log)
    : m_walk(root, log, k_policy_dir_depth) {}

std::string LockedDirsIterator::get_next_path() {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  try {
    // A new walk is at the first directory already.
    if (!std::exchange(m_first_call, false)) m_walk.do_increment(true);
  } catch (...) {
    m_walk = m_end;  // no worker gets another directory
    throw;
  }
  return m_walk.equal(m_end) ? std::string() : m_walk.dereference().string();
}

void LockedDirsIterator::stop() {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  m_walk = m_end;
}

}  // namespace catalog
