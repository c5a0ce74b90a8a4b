#include "podb/basename_range.h"

namespace database {

std::string upper_bound_of_prefix(std::string_view prefix) {
  std::string next(prefix);
  while (!next.empty() && next.back() == '\xff') next.pop_back();
  if (!next.empty()) ++next.back();
  return next;
}

}  // namespace database
