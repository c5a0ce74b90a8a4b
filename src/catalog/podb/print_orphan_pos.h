#pragma once

#include <string>

#include "catalog/podb/base_compare_with_tvr.h"

namespace catalog::podb {

// Tells which image copies a deletion would take. Only reads.
class PrintOrphanPOs : public BaseCompareWithTVR {
 public:
  using BaseCompareWithTVR::BaseCompareWithTVR;

  void visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) override;

  // Below the log directory.
  static const std::string relative_log_dir;

  // What standard output is told before the traversal.
  static std::string initial_string();

  // File names that carry the second in which they are asked for.
  static std::string log_fname();
  static std::string missing_images_fname();
};

}  // namespace catalog::podb
