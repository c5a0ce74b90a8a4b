#pragma once

#include <cstdint>
#include <string>

#include "report/model.h"

// Words and numbers that every view shows alike. No text of a log is escaped here.
namespace report {

// "dry run", "case scan", ...
std::string name_of(Task task);

// "ended well", "failed (exit status 1)", "no end logged: killed, cut off, or still running", ...
std::string ending_of(const Run& run);

// What a view says where no concern is named: a headline, and what it does not prove.
extern const char* const k_no_concern;
extern const char* const k_no_concern_caveat;

// "Dry run of 2026-11-21 14:25:35", in the host's time.
std::string title_of(const Details& details);
std::string title_of(const Run& run);

// Without the milliseconds.
std::string to_the_second(const std::string& logged_time);

// With its first letter, if it is one of ASCII, as a capital.
std::string capitalized(std::string text);

// What the run counted, in a few words: "23 orphan copies, 49 missing copies".
std::string outcome_of(const Run& run);

// What is wrong with the file, "" when nothing is.
std::string fault_of(const SourceFile& file);

// "1,234,567".
std::string with_commas(std::uint64_t count);

// "1 warning", "1,234 warnings".
std::string counted(std::uint64_t count, const char* one, const char* many);

// "2021-09-18 21:20", in UTC; "" where nothing was counted is the caller's to see to.
std::string utc(std::int64_t time);

// "12.5 %"; rounded so that only all is "100 %" and only none is "0 %". "?" for none.
std::string percent(const std::optional<double>& share);

}  // namespace report
