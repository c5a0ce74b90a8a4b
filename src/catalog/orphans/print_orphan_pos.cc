#include "catalog/orphans/print_orphan_pos.h"

namespace catalog::podb {

std::string PrintOrphanPOs::initial_string() {
  return "\nImages that would be deleted:\n";
}

void PrintOrphanPOs::visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) {
  const record::Orphan& found = orphan(backup_time, copy_number);
  count_taken(found);
  messages().would_delete(directory(), found);
}

}  // namespace catalog::podb
