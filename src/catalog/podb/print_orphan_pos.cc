#include "catalog/podb/print_orphan_pos.h"

#include <ctime>
#include <iostream>

namespace catalog::podb {

const std::string PrintOrphanPOs::relative_log_dir = "metadata_consistency";

std::string PrintOrphanPOs::initial_string() {
  return "\nImages that would be deleted:\n";
}

std::string PrintOrphanPOs::log_fname() {
  return "OrphanImages_" + std::to_string(std::time(nullptr)) + ".log";
}

std::string PrintOrphanPOs::missing_images_fname() {
  return "MissingImages_" + std::to_string(std::time(nullptr)) + ".log";
}

void PrintOrphanPOs::visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) {
  const std::string text = image_copy_text(backup_time, copy_number);
  std::cout << text;
  write_to_log("Would have deleted the POs for the image: " + text);
}

}  // namespace catalog::podb
