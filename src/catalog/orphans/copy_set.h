#pragma once

#include <cstddef>
#include <cstdint>
#include <tuple>

#include "catalog/orphans/growing_array.h"

namespace catalog::podb {

namespace details {

// Orders by time, then by copy.
struct numbers {
  std::int64_t backup_time;  // seconds since the epoch
  std::uint32_t copy_number;

  bool operator<(const numbers& other) const {
    return std::tie(backup_time, copy_number) < std::tie(other.backup_time, other.copy_number);
  }
  bool operator==(const numbers& other) const {
    return std::tie(backup_time, copy_number) == std::tie(other.backup_time, other.copy_number);
  }
};

}  // namespace details

// Names one image copy within a policy directory.
using CopyKey = details::numbers;

// An ordered set of image copies that is filled first and erased from then. In ascending order each
// costs a comparison, otherwise a sort or a search. A directory may have millions of copies; each
// takes 16 bytes, up to three times that while a small set grows.
//
// Threads: one thread at a time. Moved, not copied.
class CopySet {
 public:
  // Takes copies in any order and more than once.
  void insert(const CopyKey& copy);

  // To be called after the last insert, before the members below.
  void finish();

  // Releases unused memory.
  void shrink() { m_entries.shrink(); }

  // Returns whether the copy was there.
  bool erase(const CopyKey& copy);

  // Whether the copy was ever in the set.
  bool was_inserted(const CopyKey& copy) const;

  // The number of copies made after that time, erased ones included.
  std::size_t count_later_than(std::int64_t backup_time) const;

  std::size_t size() const { return m_entries.size() - m_erased; }
  std::size_t size_with_erased() const { return m_entries.size(); }

  // Calls `visit` with each copy, in ascending order.
  template <class Visitor>
  void for_each(Visitor visit) const {
    for (const Entry& entry : m_entries) {
      if (!entry.erased) visit(entry.copy());
    }
  }

 private:
  struct Entry {
    std::int64_t backup_time;
    std::uint32_t copy_number;
    bool erased;

    CopyKey copy() const { return {backup_time, copy_number}; }
  };

  template <class Iterator>
  static Iterator first_not_before(Iterator begin, Iterator end, const CopyKey& copy);

  util::GrowingArray<Entry> m_entries;
  std::size_t m_erased = 0;
  std::size_t m_next = 0;  // the position after the copy erased last
  bool m_ascending = true;
};

}  // namespace catalog::podb
