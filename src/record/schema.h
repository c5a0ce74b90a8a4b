#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The tables of a record, which its writer makes and its reader requires.
namespace record {

constexpr int k_application_id = 0x4D444658;
constexpr int k_version = 2;

// A saved PO's id is its directory's id times this, plus a count from 1. So a directory's POs are
// together.
constexpr std::int64_t k_saved_of_directory = std::int64_t{1} << 32;

// The statements that make the tables, in their order.
const std::vector<std::string>& schema();

// The columns of the counts, each with a comma and `suffix` after it: "pos, copies, ..., ".
std::string count_columns(const std::string& suffix);

}  // namespace record
