#pragma once

#include <cstdint>
#include <string>

#include "record/findings.h"
#include "report/model.h"

// Words and numbers that every view shows alike.
namespace report {

// "dry run", "case scan", ...
std::string name_of(record::Task task);

// What a view says where no concern is named: a headline, and what it does not prove.
inline constexpr const char* k_no_concern = "The record names nothing to look at first.";
inline constexpr const char* k_no_concern_caveat =
    "That does not prove the list right: a wrong disk pool or an incomplete listing leaves no "
    "trace in it.";

// "1,234,567".
std::string with_commas(std::uint64_t count);

// "1 warning", "1,234 warnings".
std::string counted(std::uint64_t count, const char* one, const char* many);

// "2021-09-18 21:20", in UTC.
std::string utc(std::int64_t time);

// "2021-09-18 21:20:07", in the time zone of this process.
std::string local_time(std::int64_t time);

// From 0 to 1; 0 of nothing.
double share_of(std::uint64_t part, std::uint64_t all);

// "12.5 %"; rounded so that only all is "100 %" and only none is "0 %".
std::string percent(double share);

// Whether values of the kind are laid out as numbers: numbers, times and shares are.
bool is_number(Kind kind);

// A value as text and page show it: null as "?", texts escaped by printable().
std::string shown(const Value& value, Kind kind);

// Whether a fact stands at the head of a section: it has a label and says something.
bool is_told(const Fact& fact);

}  // namespace report
