#pragma once

#include <string>
#include <string_view>

namespace database {

// The texts from `from` on, before the exclusive upper bound `to`, in byte order. An empty `to`
// means none.
struct BasenameRange {
  std::string from;
  std::string to;
};

// The exclusive upper bound of the texts that begin with `prefix`; empty if there is none.
std::string upper_bound_of_prefix(std::string_view prefix);

}  // namespace database
