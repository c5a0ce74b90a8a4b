#include "catalog/walk/locked_dirs_iterator.h"

namespace catalog {

LockedDirsIterator::LockedDirsIterator(const boost::filesystem::path& root, dct::util::LogFile* log)
    : m_walk(root, log, k_policy_dir_depth) {}

std::string LockedDirsIterator::get_next_path() {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  if (m_first_call) {
    m_first_call = false;  // the walk is at the first directory already
  } else if (!m_walk.equal(m_end)) {
    advance();
  }
  return m_walk.equal(m_end) ? std::string() : m_walk.dereference().string();
}

// After an error no worker gets another directory.
void LockedDirsIterator::advance() {
  try {
    m_walk.do_increment(true);
  } catch (...) {
    m_walk = m_end;
    throw;
  }
}

void LockedDirsIterator::stop() {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  m_walk = m_end;
}

}  // namespace catalog
