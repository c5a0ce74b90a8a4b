#pragma once

#include <cstdint>
#include <string>

#include "record/findings.h"
#include "report/model.h"

// Wording that all views share.
namespace report {

// "dry run", "case scan", ...
std::string name_of(record::Task task);

// Shown if there is no concern.
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

// From 0 to 1; 0 if `all` is 0.
double share_of(std::uint64_t part, std::uint64_t all);

// "12.5 %". Rounding never yields "100 %" for less than all, nor "0 %" for more than nothing.
std::string percent(double share);

// True for numbers, times and shares.
bool is_number(Kind kind);

// A value for text and page: null as "?", texts escaped by printable().
std::string shown(const Value& value, Kind kind);

// Whether the head of a section shows the fact: it has a label and a value.
bool is_head_fact(const Fact& fact);

}  // namespace report
