#include "platform/basename_range.h"

namespace platform {

std::string first_behind(std::string_view prefix) {
  std::string next(prefix);
  while (!next.empty() && next.back() == '\xff') next.pop_back();
  if (!next.empty()) ++next.back();
  return next;
}

}  // namespace platform
