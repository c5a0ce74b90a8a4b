#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "catalog/orphans/base_compare_with_tvr.h"

namespace catalog::podb {

// Deletes the POs of the image copies that the backup catalog no longer has. Unless told otherwise, each
// PO is in the run's record, synced, before it is gone.
//
// Many orphans are deleted in one transaction: it ends after 1,000 of them, after a second, and at the end
// of the directory. What is deleted is told when it is committed.
//
// Errors: visit_one_image_copy and visit_image_copies_not_in_TV_impl throw Cr_ErrnoException when an
//   orphan cannot be deleted, after they told the log; the orphans before it are deleted, and told.
//   With k_status_record_lost nothing is deleted that is not told: the record cannot be written. With
//   k_status_interrupted a signal has stopped the deletion behind a transaction.
class DeleteOrphanPOs : public BaseCompareWithTVR {
 public:
  using BaseCompareWithTVR::BaseCompareWithTVR;

  static constexpr SQLitePODB::Access access = SQLitePODB::Access::read_write;

  // What is done to orphans, in the progress of a run.
  static constexpr const char* step_name = "deleting orphans";

  void visit_image_copies_not_in_TV_impl() override;
  void visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) override;

  // Standard output is told nothing before the traversal.
  static std::string initial_string();

  // With the POs that were deleted.
  static std::string text_of(const record::DirCounts& counts);

 private:
  using Orphans = std::vector<record::Orphan>;

  void require_no_signal() const;
  cr_status_t delete_pos(record::Orphan& orphan);
  cr_status_t commit();
  void commit_in_hand();
  Orphans::iterator delete_again(Orphans::iterator end);
  void tell_deleted(Orphans::iterator end);
  [[noreturn]] void give_up(cr_status_t status, const record::Orphan& failed);

  using Clock = std::chrono::steady_clock;

  Orphans m_in_hand;  // those of the open transaction, all there deleted
  Clock::time_point m_begin;
  std::uint64_t m_deleted = 0;  // orphans, committed
  database::PORow m_row;
};

}  // namespace catalog::podb
