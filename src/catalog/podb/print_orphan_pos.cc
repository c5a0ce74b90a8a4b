#include "catalog/podb/print_orphan_pos.h"

#include "platform/reports.h"

namespace catalog::podb {

PrintOrphanPOs::PrintOrphanPOs(const boost::filesystem::path& policy_dir, dct::util::LogFile& log,
                               dct::util::LogFile& missing_images_log,
                               const boost::filesystem::path& admincmd_dir,
                               const std::string& disk_pool)
    : BaseCompareWithTVR(policy_dir, log, missing_images_log, admincmd_dir, disk_pool,
                         SQLitePODB::Access::read_only) {}

std::string PrintOrphanPOs::initial_string() {
  return "\nImages that would be deleted:\n";
}

void PrintOrphanPOs::visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) {
  const std::string text = image_copy_text(backup_time, copy_number);
  const Taking& found = taking(backup_time, copy_number);
  tally().taken_pos += found.pos;
  tally().other_copies_pos += found.other_copies.size();
  platform::print(text);
  write_to_log("Would have deleted the POs for the image: " + text +
               taking_text("Would delete", found));
}

}  // namespace catalog::podb
