#pragma once

#include <string>
#include <string_view>

namespace tvr_utils {

// A client and a policy.
struct PairOfNames {
  std::string_view client;
  std::string_view policy;
};

// Warns that the backup catalog lists images under another spelling than the directory's. They match
// none of its copies, which then count as orphans: an operator wants to know before a deletion.
void warn_of_other_spelling(const PairOfNames& listed, const PairOfNames& directory);

// Whether a listing can hold the name as one field of a line. Of another one it says nothing.
bool can_be_listed(std::string_view name);

}  // namespace tvr_utils
