#pragma once

#include <cstdint>
#include <string>
#include <vector>

// One image of the backup catalog.
//
// Invariant: the three sequences have the same length; entry i of each describes the same fragment,
// in the order of the listing.
struct TVRImage {
  std::string client_name;
  std::string policy_name;
  std::int64_t backup_time = 0;  // seconds since the epoch
  std::vector<std::uint32_t> copy_numbers;
  std::vector<std::int32_t> fragment_numbers;
  std::vector<std::uint32_t> frag_values;
};
