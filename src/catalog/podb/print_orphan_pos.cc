#include "catalog/podb/print_orphan_pos.h"

namespace catalog::podb {

PrintOrphanPOs::PrintOrphanPOs(const boost::filesystem::path& policy_dir,
                               ConsistencyFindings& findings, record::Directory& directory,
                               const boost::filesystem::path& admincmd_dir,
                               const std::string& disk_pool)
    : BaseCompareWithTVR(policy_dir, findings, directory, admincmd_dir, disk_pool,
                         SQLitePODB::Access::read_only) {}

std::string PrintOrphanPOs::initial_string() {
  return "\nImages that would be deleted:\n";
}

void PrintOrphanPOs::visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) {
  const record::Orphan& found = orphan(backup_time, copy_number);
  count_taken(found);
  findings().would_delete(directory(), found);
}

}  // namespace catalog::podb
