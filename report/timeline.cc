#include "report/timeline.h"

#include <time.h>

#include <boost/format.hpp>

namespace report {

namespace {

constexpr int k_months_a_year = 12;
constexpr int k_ten = 10;
constexpr int k_months_a_millennium = 12000;

std::string label_of(int month, int width) {
  const int year = month / k_months_a_year;
  if (width == 1) return (boost::format("%04d-%02d") % year % (month % k_months_a_year + 1)).str();
  if (width == k_months_a_year) return (boost::format("%04d") % year).str();
  return (boost::format("%04d-%04d") % year % (year + width / k_months_a_year - 1)).str();
}

}  // namespace

void Timeline::add(std::int64_t backup_time) {
  constexpr std::int64_t k_last = 253402300799;  // the end of the year 9999
  constexpr int k_first_year = 1900;             // of struct tm
  struct tm date {};
  const time_t seconds = backup_time;
  if (backup_time < 0 || backup_time > k_last || ::gmtime_r(&seconds, &date) == nullptr) {
    ++m_beyond;
    return;
  }
  ++m_months[(date.tm_year + k_first_year) * k_months_a_year + date.tm_mon];
}

std::vector<Timeline::Bar> Timeline::bars(std::size_t limit) const {
  std::vector<Bar> bars;
  if (empty()) return bars;
  const int last = m_months.rbegin()->first;
  int width = 1;
  const auto first = [&] { return m_months.begin()->first / width; };
  while (static_cast<std::size_t>(last / width - first()) >= limit &&
         width < k_months_a_millennium) {
    width *= width == 1 ? k_months_a_year : k_ten;
  }
  for (int bar = first(); bar <= last / width; ++bar)
    bars.push_back({label_of(bar * width, width)});
  for (const auto& [month, count] : m_months) {
    bars[static_cast<std::size_t>(month / width - first())].count += count;
  }
  return bars;
}

}  // namespace report
