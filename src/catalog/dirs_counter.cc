#include "catalog/dirs_counter.h"

#include <exception>

namespace catalog {

void DirsCounter::count_until(const std::function<bool()>& enough) {
  try {
    count(enough);
  } catch (const std::exception&) {
    m_state = State::failed;  // the walk that does the work meets the same, and tells
  }
}

void DirsCounter::count(const std::function<bool()>& enough) {
  if (m_state == State::not_begun) {
    m_walk = DirsIterator(m_root, nullptr, k_policy_dir_depth, DirsIterator::PassedOver::untold);
    m_state = State::counting;
  }
  const DirsIterator end;
  while (m_state == State::counting && !enough()) {
    if (m_walk.equal(end)) {
      m_state = State::counted;
    } else {
      ++m_count;
      m_walk.do_increment(true);
    }
  }
}

std::optional<std::uint64_t> DirsCounter::total() const {
  if (m_state != State::counted) return std::nullopt;
  return m_count;
}

}  // namespace catalog
