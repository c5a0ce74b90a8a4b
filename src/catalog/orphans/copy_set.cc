#include "catalog/orphans/copy_set.h"

#include <algorithm>

namespace catalog::podb {

template <class Iterator>
Iterator CopySet::first_not_before(Iterator begin, Iterator end, const CopyKey& copy) {
  return std::lower_bound(begin, end, copy,
                          [](const Entry& a, const CopyKey& b) { return a.copy() < b; });
}

void CopySet::insert(const CopyKey& copy) {
  if (!m_entries.empty()) {
    const CopyKey last = m_entries.back().copy();
    if (last == copy) return;
    if (copy < last) m_ascending = false;
  }
  m_entries.push_back({copy.backup_time, copy.copy_number, false});
}

void CopySet::finish() {
  if (m_ascending) return;
  std::sort(m_entries.begin(), m_entries.end(),
            [](const Entry& a, const Entry& b) { return a.copy() < b.copy(); });
  const auto same = [](const Entry& a, const Entry& b) { return a.copy() == b.copy(); };
  const Entry* const end = std::unique(m_entries.begin(), m_entries.end(), same);
  m_entries.truncate(static_cast<std::size_t>(end - m_entries.begin()));
}

bool CopySet::erase(const CopyKey& copy) {
  Entry* entry = m_entries.begin() + m_next;
  if (entry == m_entries.end() || !(entry->copy() == copy)) {
    entry = first_not_before(m_entries.begin(), m_entries.end(), copy);
    if (entry == m_entries.end() || !(entry->copy() == copy)) return false;
  }
  m_next = static_cast<std::size_t>(entry - m_entries.begin()) + 1;
  if (entry->erased) return false;
  entry->erased = true;
  ++m_erased;
  return true;
}

bool CopySet::was_inserted(const CopyKey& copy) const {
  const Entry* const entry = first_not_before(m_entries.begin(), m_entries.end(), copy);
  return entry != m_entries.end() && entry->copy() == copy;
}

std::size_t CopySet::count_later_than(std::int64_t backup_time) const {
  const Entry* const first = std::upper_bound(
      m_entries.begin(), m_entries.end(), backup_time,
      [](std::int64_t time, const Entry& entry) { return time < entry.backup_time; });
  return static_cast<std::size_t>(m_entries.end() - first);
}

}  // namespace catalog::podb
