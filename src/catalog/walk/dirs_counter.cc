#include "catalog/walk/dirs_counter.h"

#include <exception>

namespace catalog {

void DirsCounter::count_until(const std::function<bool()>& enough) {
  if (m_total || m_has_failed) return;
  try {
    if (!m_walk)
      m_walk.emplace(m_root, nullptr, k_policy_dir_depth, DirsIterator::PassedOver::silent);
    while (!enough()) {
      if (m_walk->equal(DirsIterator())) {
        m_total = m_count;
        return;
      }
      if (m_wanted(m_walk->dereference())) ++m_count;
      m_walk->do_increment(true);
    }
  } catch (const std::exception&) {
    m_has_failed = true;  // the walk of the task meets the same error, and reports it
  }
}

}  // namespace catalog
