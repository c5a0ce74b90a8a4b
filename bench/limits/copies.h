#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "bench/limits/database.h"
#include "bench/limits/policy_dirs.h"

namespace limits {

// One image copy of a policy directory.
struct Copy {
  std::int64_t time;
  std::uint32_t number;
  bool listed = false;  // by the backup catalog

  bool operator<(const Copy& other) const {
    return std::tie(time, number) < std::tie(other.time, other.number);
  }
};

// The copies in the directory's database, in ascending order, without names of other clients or in
// another letter case.
std::vector<Copy> copies_in(Database& database, const std::string& client);

// A line for each orphan and each missing copy of one directory.
struct Findings {
  std::string orphans;
  std::string missing;
};

// The product's query of the backup catalog, and the disk pool whose fragments count.
struct ImageQuery {
  std::string command;
  std::string disk_pool;
};

// Marks the copies that the backup catalog lists, and adds the findings.
void compare(const ImageQuery& query, const PolicyDir& dir, std::vector<Copy>& copies,
             Findings& findings);

// Lines for the listed copies of clients and policies without a directory.
std::string missing_elsewhere(const ImageQuery& query, const std::vector<PolicyDir>& dirs);

std::string orphan_line(const PolicyDir& dir, const Copy& copy);

}  // namespace limits
