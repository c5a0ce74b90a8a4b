#pragma once

#include <string>

#include "catalog/orphans/base_compare_with_tvr.h"

namespace catalog::podb {

// Reports which image copies a deletion would take, and how many POs. Only reads.
class PrintOrphanPOs : public BaseCompareWithTVR {
 public:
  using BaseCompareWithTVR::BaseCompareWithTVR;

  static constexpr SQLitePODB::Access access = SQLitePODB::Access::read_only;

  // The name of the step that visits orphans.
  static constexpr const char* step_name = "printing orphans";

  void visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) override;

  // Printed before the traversal.
  static std::string initial_string();
};

}  // namespace catalog::podb
