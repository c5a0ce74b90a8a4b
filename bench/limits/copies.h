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

// The copies that the directory's database names, in ascending order. Names of other clients and
// in other letter cases are left out.
std::vector<Copy> copies_in(Database& database, const std::string& client);

// What a run finds out of one directory: a line each for the orphans and the missing copies.
struct Findings {
  std::string orphans;
  std::string missing;
};

// The product's query, and the pool whose fragments count.
struct Catalog {
  std::string command;
  std::string disk_pool;
};

// Marks the copies that the catalog lists and adds a line for those that are not there.
void compare(const Catalog& catalog, const PolicyDir& dir, std::vector<Copy>& copies,
             Findings& findings);

// Lines for the catalog's copies of the clients and policies that have no directory.
std::string missing_elsewhere(const Catalog& catalog, const std::vector<PolicyDir>& dirs);

std::string orphan_line(const PolicyDir& dir, const Copy& copy);

}  // namespace limits
