#pragma once

#include <string_view>

#include "report/model.h"

namespace report::logs {

constexpr std::size_t k_most_failures = 1000;

// Notes a failed directory: `text` is the path and, behind "; ", the reason; where there is none,
// `status` is the reason.
void add_failure(FailedDirs& failed, std::string_view text, std::string_view status);

// Adds a further line of its text to the failure noted last.
void continue_failure(FailedDirs& failed, std::string_view line);

// Lines that every task's log may begin with: how the run was started, entries passed over.
bool is_opening_line(std::string_view line);

}  // namespace report::logs
