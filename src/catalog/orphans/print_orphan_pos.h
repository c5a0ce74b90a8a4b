#pragma once

#include <string>

#include "catalog/orphans/base_compare_with_tvr.h"

namespace catalog::podb {

// Tells which image copies a deletion would take, and how many POs with them. Only reads.
class PrintOrphanPOs : public BaseCompareWithTVR {
 public:
  using BaseCompareWithTVR::BaseCompareWithTVR;

  static constexpr SQLitePODB::Access access = SQLitePODB::Access::read_only;

  // What is done to orphans, in the progress of a run.
  static constexpr const char* step_name = "printing orphans";

  void visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) override;

  // What standard output is told before the traversal.
  static std::string initial_string();
};

}  // namespace catalog::podb
