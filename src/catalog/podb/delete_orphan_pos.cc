#include "catalog/podb/delete_orphan_pos.h"

#include "platform/status.h"

namespace catalog::podb {

std::string DeleteOrphanPOs::initial_string() {
  return "";
}

std::string DeleteOrphanPOs::text_of(const record::DirCounts& counts) {
  return BaseCompareWithTVR::text_of(counts) + ", " + std::to_string(counts.taken_pos) +
         " POs deleted";
}

void DeleteOrphanPOs::visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) {
  record::Orphan found = orphan(backup_time, copy_number);
  const cr_status_t status =
      podb().exec_sql(deletion_statement(client(), {backup_time, copy_number}), nullptr);
  if (status != k_status_ok) {
    throw Cr_ErrnoException(status, findings().not_deleted(directory(), found));
  }
  const auto taken_pos = static_cast<std::uint64_t>(podb().changed_rows());
  if (taken_pos != found.pos) findings().took_others(directory(), found, taken_pos);
  found.pos = taken_pos;
  found.deleted = true;
  count_taken(found);
  findings().deleted(directory(), found);
}

}  // namespace catalog::podb
