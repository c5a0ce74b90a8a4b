#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace report {

// Counts image copies by the calendar month of their backup, in UTC.
class Timeline {
 public:
  // One bar of a drawing: some months or years.
  struct Bar {
    std::string label;  // "2021-03", "2021" or "2020-2029"
    std::uint64_t count = 0;
  };

  void add(std::int64_t backup_time);

  bool empty() const { return m_months.empty(); }

  // Without gaps, oldest first: months, or years, decades, centuries or millennia if there would be
  // more than `limit` bars.
  std::vector<Bar> bars(std::size_t limit) const;

  // Copies with an impossible time, before the epoch or after the year 9999. No bar counts them.
  std::uint64_t beyond() const { return m_beyond; }

 private:
  std::map<int, std::uint64_t> m_months;  // 12 * year + month, from 0
  std::uint64_t m_beyond = 0;
};

}  // namespace report
