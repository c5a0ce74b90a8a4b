#pragma once

#include <string>

#include "catalog/podb/base_compare_with_tvr.h"

namespace catalog::podb {

// Deletes the POs of the image copies that the backup catalog no longer has. Nothing brings them
// back.
//
// Errors: visit_one_image_copy throws Cr_ErrnoException when a statement fails, after it told the
//   log; what was deleted before stays deleted.
class DeleteOrphanPOs : public BaseCompareWithTVR {
 public:
  using BaseCompareWithTVR::BaseCompareWithTVR;

  static constexpr SQLitePODB::Access access = SQLitePODB::Access::read_write;
  static constexpr Findings::Effect effect = Findings::Effect::changes;

  void visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) override;

  // Standard output is told nothing before the traversal.
  static std::string initial_string();

  // With the POs that were deleted.
  static std::string text_of(const record::DirCounts& counts);
};

}  // namespace catalog::podb
