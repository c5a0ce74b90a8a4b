#pragma once

#include <cstdint>
#include <optional>

#include "catalog/walk/dir_filter.h"

namespace catalog {

class ApprovedOrphans;

// What a dry run or a deletion leaves alone although the comparison would allow it.
struct ConsistencyLimits {
  const ApprovedOrphans* approved = nullptr;      // what else is an orphan stays; null for none
  std::optional<std::uint32_t> max_orphan_share;  // in percent of a directory's copies
  DirFilter filter;                               // the other directories are not opened
};

}  // namespace catalog
