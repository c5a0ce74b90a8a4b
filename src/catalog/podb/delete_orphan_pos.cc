#include "catalog/podb/delete_orphan_pos.h"

#include "platform/run_log.h"
#include "platform/status.h"

namespace catalog::podb {

DeleteOrphanPOs::DeleteOrphanPOs(const boost::filesystem::path& policy_dir, dct::util::LogFile& log,
                                 dct::util::LogFile& missing_images_log,
                                 const boost::filesystem::path& admincmd_dir,
                                 const std::string& disk_pool)
    : BaseCompareWithTVR(policy_dir, log, missing_images_log, admincmd_dir, disk_pool,
                         SQLitePODB::Access::read_write) {}

std::string DeleteOrphanPOs::initial_string() {
  return "";
}

std::string DeleteOrphanPOs::findings(const DirCounts& counts) {
  return BaseCompareWithTVR::findings(counts) + ", " + std::to_string(counts.taken_pos) +
         " POs deleted";
}

void DeleteOrphanPOs::visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) {
  const std::string text = image_copy_text(backup_time, copy_number);
  const cr_status_t status =
      podb().exec_sql(deletion_statement(client(), {backup_time, copy_number}), nullptr);
  if (status != k_status_ok) {
    const std::string error = "ERROR: could not delete the POs for the image: " + text;
    write_to_log(error);
    throw Cr_ErrnoException(status, error);
  }
  Taking taken = taking(backup_time, copy_number);
  const auto deleted = static_cast<std::uint64_t>(podb().changed_rows());
  if (deleted != taken.pos) {
    WarningA("the deletion took " + std::to_string(deleted) + " POs instead of " +
             std::to_string(taken.pos) + " for the image " + text);
    taken.pos = deleted;
  }
  tally().taken_pos += taken.pos;
  tally().other_copies_pos += taken.other_copies.size();
  write_to_log("Deleted the POs for the image: " + text + taking_text("Deleted", taken));
}

}  // namespace catalog::podb
