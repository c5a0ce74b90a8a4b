#pragma once

#include <string>
#include <string_view>

namespace database {

// The texts from `from` on and before `to`, in byte order; an empty `to` stands for the end of all
// texts.
struct BasenameRange {
  std::string from;
  std::string to;
};

// The first text behind all that begin with `prefix`; empty when there is none.
std::string upper_bound_of_prefix(std::string_view prefix);

}  // namespace database
