#include "report/timeline.h"

#include <time.h>

#include <boost/format.hpp>

namespace report {

namespace {

constexpr int k_months_a_year = 12;
constexpr int k_ten = 10;
constexpr int k_months_a_millennium = 12000;

// The first month of the bar that holds it.
int begin_of_bar(int month, int width) {
  return month / width * width;
}

std::string label_of(int month, int width) {
  const int year = month / k_months_a_year;
  if (width == 1) return (boost::format("%04d-%02d") % year % (month % k_months_a_year + 1)).str();
  if (width == k_months_a_year) return (boost::format("%04d") % year).str();
  return (boost::format("%04d-%04d") % year % (year + width / k_months_a_year - 1)).str();
}

}  // namespace

void Timeline::add(std::int64_t backup_time) {
  constexpr std::int64_t k_first = 0;
  constexpr std::int64_t k_last = 253402300799;  // the end of the year 9999
  constexpr int k_first_year_of_tm = 1900;
  if (backup_time < k_first || backup_time > k_last) {
    ++m_beyond;
    return;
  }
  struct tm time {};
  const time_t seconds = backup_time;
  (void)::gmtime_r(&seconds, &time);  // fails only for years that an int cannot hold
  ++m_months[(time.tm_year + k_first_year_of_tm) * k_months_a_year + time.tm_mon];
}

std::vector<Timeline::Bar> Timeline::bars(std::size_t most) const {
  std::vector<Bar> bars;
  if (empty()) return bars;
  const int first = m_months.begin()->first;
  const int last = m_months.rbegin()->first;
  int width = 1;
  const auto needed = [&] { return static_cast<std::size_t>(last / width - first / width) + 1; };
  while (needed() > most && width < k_months_a_millennium) {
    width *= width == 1 ? k_months_a_year : k_ten;
  }
  for (int month = begin_of_bar(first, width); month <= last; month += width) {
    bars.push_back({label_of(month, width), 0});
  }
  for (const auto& [month, count] : m_months) {
    bars[static_cast<std::size_t>(month / width - first / width)].count += count;
  }
  return bars;
}

}  // namespace report
