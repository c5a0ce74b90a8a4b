#pragma once

#include <cstdint>
#include <optional>

#include "catalog/walk/dir_filter.h"

namespace catalog {

class ApprovedOrphans;

// What a dry run or a deletion leaves alone, whatever the comparison says.
struct ConsistencyLimits {
  const ApprovedOrphans* approved = nullptr;  // every other orphan stays; null for no such limit
  std::optional<std::uint32_t> max_orphan_share;  // in percent of a directory's copies
  DirFilter filter;                               // other directories are not opened
};

}  // namespace catalog
