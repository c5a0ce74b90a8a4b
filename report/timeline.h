#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace report {

// How many image copies were backed up when: counts by calendar month, in UTC.
class Timeline {
 public:
  // One bar of a drawing: some months or years, and what they hold.
  struct Bar {
    std::string label;  // "2021-03", "2021" or "2020-2029"
    std::uint64_t count = 0;
  };

  void add(std::int64_t backup_time);

  bool empty() const { return m_months.empty(); }

  // Without gaps, oldest first: months; or years, decades, centuries or millennia where there would be
  // more than `most`.
  std::vector<Bar> bars(std::size_t most) const;

  // Copies whose time is no time of backups: before the epoch or behind the year 9999. They stand in
  // no bar.
  std::uint64_t beyond() const { return m_beyond; }

 private:
  std::map<int, std::uint64_t> m_months;  // 12 * year + month, from 0
  std::uint64_t m_beyond = 0;
};

}  // namespace report
