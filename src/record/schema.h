#pragma once

#include <string>
#include <vector>

// The form of a record, which its writer makes and its reader requires.
namespace record {

constexpr int k_application_id = 0x4D444658;
constexpr int k_version = 1;

// The statements that make the tables and indexes, in their order.
const std::vector<std::string>& schema();

// The columns of the counts, each with a comma and `suffix` after it: "pos, copies, ..., ".
std::string count_columns(const std::string& suffix);

}  // namespace record
