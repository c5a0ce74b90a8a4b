#pragma once

#include <string>
#include <string_view>

namespace tvr_utils {

// A client and a policy.
struct PairOfNames {
  std::string_view client;
  std::string_view policy;
};

// Warns that the backup catalog spells the names of a directory differently. Its images then match none
// of the directory's copies, which count as orphans: the operator must know that before a deletion.
void warn_of_other_spelling(const PairOfNames& listed, const PairOfNames& directory);

// Whether a listing can show the name as one field of a line.
bool can_be_listed(std::string_view name);

}  // namespace tvr_utils
