#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "catalog/orphans/base_compare_with_tvr.h"
#include "podb/podb_transaction.h"

namespace catalog::podb {

// Deletes the POs of the image copies that the backup catalog no longer has. Each PO is synced to
// the run's record before it is deleted, unless set_saves_pos(false) was called.
//
// A transaction ends after 1,000 orphans, after a second, and at the end of the directory.
// Deletions are reported once they are committed.
//
// Errors: visit_one_image_copy and visit_image_copies_not_in_TV_impl throw Cr_ErrnoException if an
//   orphan cannot be deleted, which they log; the orphans before it are deleted and reported. With
//   k_status_record_lost the record cannot be written, and nothing unreported is deleted. With
//   k_status_interrupted a signal stopped the deletion between two transactions.
class DeleteOrphanPOs : public BaseCompareWithTVR {
 public:
  using BaseCompareWithTVR::BaseCompareWithTVR;

  static constexpr SQLitePODB::Access access = SQLitePODB::Access::read_write;

  // The name of the step that visits orphans.
  static constexpr const char* step_name = "deleting orphans";

  void visit_image_copies_not_in_TV_impl() override;
  void visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) override;

  // Empty: nothing is printed before the traversal.
  static std::string initial_string();

  // Counts the deleted POs too.
  static std::string text_of(const record::DirCounts& counts);

 private:
  using Orphans = std::vector<record::Orphan>;

  void require_no_signal() const;
  cr_status_t delete_pos(record::Orphan& orphan);
  cr_status_t commit();
  void commit_orphans();
  Orphans::iterator delete_again(Orphans::iterator end);
  void report_deleted(Orphans::iterator end);
  [[noreturn]] void give_up(cr_status_t status, const record::Orphan& failed);

  using Clock = std::chrono::steady_clock;

  database::PODBTransaction m_transaction{podb()};
  Orphans m_in_transaction;  // the orphans deleted in the open transaction
  Clock::time_point m_begin;
  std::uint64_t m_deleted = 0;  // orphans, committed
  database::PORow m_row;
};

}  // namespace catalog::podb
