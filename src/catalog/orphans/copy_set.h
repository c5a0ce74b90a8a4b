#pragma once

#include <cstddef>
#include <cstdint>
#include <tuple>

#include "catalog/orphans/growing_array.h"

namespace catalog::podb {

namespace details {

// The key of one image copy within a policy directory; ordered by time, then by copy.
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

// An ordered set of image copies that is filled first and taken from then, both mostly in ascending
// order: that costs a comparison each; any other order costs a sort or a search. A directory may
// have millions of copies; each takes 16 bytes, up to three times that while a small set grows.
//
// Threads: one thread at a time. Moved, not copied.
class CopySet {
 public:
  // Copies may come in any order and more than once.
  void insert(const details::numbers& copy);

  // Behind the last insert, and before anything below.
  void finish();

  // Gives back what memory it took to grow.
  void shrink() { m_entries.shrink(); }

  // Takes the copy out; whether it was there.
  bool erase(const details::numbers& copy);

  // Whether the copy was put in, be it taken out or not.
  bool was_inserted(const details::numbers& copy) const;

  // How many were made after that time, whether they were taken out or not.
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

    details::numbers copy() const { return {backup_time, copy_number}; }
  };

  template <class Iterator>
  static Iterator first_not_before(Iterator begin, Iterator end, const details::numbers& copy);

  util::GrowingArray<Entry> m_entries;
  std::size_t m_erased = 0;
  std::size_t m_next = 0;  // where the copy behind the one erased last stands
  bool m_ascending = true;
};

}  // namespace catalog::podb
