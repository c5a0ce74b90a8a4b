#include "catalog/locked_dirs_iterator.h"

namespace catalog {

LockedDirsIterator::LockedDirsIterator(const boost::filesystem::path& root, dct::util::LogFile* log)
    : m_walk(root, log, k_policy_dir_depth) {}

std::string LockedDirsIterator::get_next_path() {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  if (m_first_call) {
    m_first_call = false;  // the walk stands on the first directory already
  } else if (!m_walk.equal(m_end)) {
    m_walk.do_increment(true);
  }
  return m_walk.equal(m_end) ? std::string() : m_walk.dereference().string();
}

void LockedDirsIterator::stop() {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  m_walk = m_end;
}

}  // namespace catalog
