#pragma once

#include <cstdint>
#include <string>
#include <vector>

// One image of the backup catalog.
//
// Invariant: the three sequences have the same length; entry i of each describes the same fragment,
// in the order of the listing. Behind the fragments stands one summary entry for each distinct
// copy, in ascending order of copy number, with fragment number 0 and the copy's largest value.
struct TVRImage {
  std::string client_name;
  std::string policy_name;
  std::int64_t backup_time = 0;  // seconds since the epoch
  std::vector<std::uint32_t> copy_numbers;
  std::vector<std::int32_t> fragment_numbers;
  std::vector<std::uint32_t> frag_values;
};
