#pragma once

#include <cstdint>
#include <optional>

#include "catalog/dir_filter.h"

namespace catalog {

// What a dry run or a deletion leaves alone although the comparison would allow it.
struct ConsistencyLimits {
  std::optional<std::uint32_t> max_orphan_share;  // in percent of a directory's copies
  DirFilter filter;                               // the other directories are not opened
};

}  // namespace catalog
