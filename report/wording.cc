#include "report/wording.h"

#include <time.h>

#include <algorithm>
#include <array>

#include <boost/algorithm/string/join.hpp>
#include <boost/format.hpp>

#include "report/escape.h"

namespace report {

namespace {

// In quotes if it is empty or contains blanks.
std::string in_quotes(const std::string& word) {
  const bool is_word = !word.empty() && word.find(' ') == std::string::npos;
  return is_word ? printable(word) : '"' + printable(word) + '"';
}

std::string formatted(std::int64_t time, const char* form,
                      struct tm* (*parts_of)(const time_t*, struct tm*)) {
  std::array<char, 64> text{};
  struct tm parts {};
  const time_t seconds = time;
  if (parts_of(&seconds, &parts) == nullptr) return std::to_string(time) + " s";
  return std::string(text.data(), ::strftime(text.data(), text.size(), form, &parts));
}

}  // namespace

std::string name_of(record::Task task) {
  constexpr const char* k_names[] = {"no task", "case scan", "case repair",
                                     "dry run", "deletion",  "restore"};
  return k_names[static_cast<int>(task)];
}

std::string with_commas(std::uint64_t count) {
  constexpr std::size_t k_group = 3;
  std::string digits = std::to_string(count);
  for (std::size_t at = digits.size(); at > k_group;) digits.insert(at -= k_group, ",");
  return digits;
}

std::string counted(std::uint64_t count, const char* one, const char* many) {
  return with_commas(count) + " " + (count == 1 ? one : many);
}

std::string utc(std::int64_t time) {
  return formatted(time, "%Y-%m-%d %H:%M", ::gmtime_r);
}

std::string local_time(std::int64_t time) {
  return formatted(time, "%Y-%m-%d %H:%M:%S", ::localtime_r);
}

double share_of(std::uint64_t part, std::uint64_t all) {
  return all == 0 ? 0 : static_cast<double>(part) / static_cast<double>(all);
}

std::string percent(double share) {
  constexpr double k_hundred = 100;
  constexpr double k_least = 0.1;
  const double value = share * k_hundred;
  if (value <= 0 || value >= k_hundred) return value <= 0 ? "0 %" : "100 %";
  return (boost::format("%.1f %%") % std::clamp(value, k_least, k_hundred - k_least)).str();
}

bool is_number(Kind kind) {
  return kind == Kind::number || kind == Kind::time || kind == Kind::share;
}

std::string shown(const Value& value, Kind kind) {
  if (value.is_null()) return "?";
  if (value.is_string()) return printable(value.get_ref<const std::string&>());
  if (kind == Kind::share) return percent(value);
  if (kind == Kind::time) return utc(value);
  if (value.is_number_float()) return (boost::format("%.3f") % value.get<double>()).str();
  if (value.is_number_unsigned()) return with_commas(value);
  if (!value.is_array()) return value.dump();
  Texts words;
  for (const auto& word : value) words.push_back(in_quotes(word));
  return boost::join(words, " ");
}

bool is_head_fact(const Fact& fact) {
  const Column& column = fact.column;
  return column.is_shown() && column.kind != Kind::messages && !fact.value.is_null() &&
         !shown(fact.value, column.kind).empty();
}

}  // namespace report
