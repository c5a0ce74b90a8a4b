#include "report/wording.h"

#include <time.h>

#include <algorithm>
#include <array>

#include <boost/algorithm/string/join.hpp>
#include <boost/format.hpp>

#include "report/escape.h"

namespace report {

namespace {

// What each kind of value looks like.
struct Shown {
  Kind kind;

  std::string operator()(std::nullptr_t) const { return "?"; }
  std::string operator()(bool value) const { return value ? "yes" : "no"; }
  std::string operator()(const std::string& value) const { return printable(value); }
  std::string operator()(double value) const {
    return kind == Kind::share ? percent(value) : (boost::format("%.3f") % value).str();
  }
  std::string operator()(std::uint64_t value) const { return with_commas(value); }
  std::string operator()(std::int64_t value) const {
    return kind == Kind::time ? utc(value) : std::to_string(value);
  }
  // An argument that holds blanks stands in quotes.
  std::string operator()(Texts values) const {
    for (std::string& value : values) {
      const bool is_word = !value.empty() && value.find(' ') == std::string::npos;
      value = is_word ? printable(value) : '"' + printable(value) + '"';
    }
    return boost::join(values, " ");
  }
};

std::string formatted(std::int64_t time, const char* form,
                      struct tm* (*parts_of)(const time_t*, struct tm*)) {
  std::array<char, 64> text{};
  struct tm parts {};
  const time_t seconds = time;
  if (parts_of(&seconds, &parts) == nullptr) return std::to_string(time) + " s";
  return std::string(text.data(), ::strftime(text.data(), text.size(), form, &parts));
}

}  // namespace

const char* const k_no_concern = "The record names nothing to look at first.";
const char* const k_no_concern_caveat =
    "That does not prove the list right: a wrong disk pool or an incomplete listing leaves no "
    "trace in it.";

std::string name_of(record::Task task) {
  constexpr const char* k_names[] = {"no task", "case scan", "case repair", "dry run", "deletion"};
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
  return std::visit(Shown{kind}, value);
}

bool is_told(const Fact& fact) {
  const bool is_empty = fact.value == Value(nullptr) || fact.value == Value(std::string()) ||
                        fact.value == Value(Texts());
  return !fact.column.label.empty() && fact.column.kind != Kind::notes && !is_empty;
}

}  // namespace report
