#pragma once

#include <string>

#include "catalog/orphans/approved_orphans.h"
#include "catalog/orphans/basename_time_and_copy_set.h"
#include "catalog/orphans/deletion_matches.h"

namespace catalog::podb {

// The hours that a listing of the backup catalog reaches back: to two days before that catalog's
// own backup, or to the epoch if `catalog_backup_time` (seconds since the epoch) is 0.
unsigned long listing_hours_ago(std::int64_t catalog_backup_time);

// Compares the image copies of one policy directory with the backup catalog's.
//
// Ownership: refers to messages and directory, which must outlive it.
// Errors: the constructor throws Cr_ErrnoException, naming the directory, when the database cannot
//   be opened or read.
class BaseCompareWithTVR : public BasenameTimeAndCopySet {
 public:
  BaseCompareWithTVR(const boost::filesystem::path& policy_dir, ConsistencyMessages& messages,
                     record::Directory& directory, const boost::filesystem::path& admincmd_dir,
                     const std::string& disk_pool, SQLitePODB::Access access);

  // For the orphans of a directory that was compared already; `directory` has its counts.
  BaseCompareWithTVR(const boost::filesystem::path& policy_dir, ConsistencyMessages& messages,
                     record::Directory& directory, CopySet orphans, SQLitePODB::Access access);

  // Removes the copies that the backup catalog has from the set, and reports those that the
  // metadata lacks. To be called once.
  // Errors: what the listing throws. The set may then have copies that are no orphans.
  virtual void compare_metadata_impl();

  // The reason not to touch the directory if more than `most_percent` of its copies are orphans,
  // else an empty text. After the comparison.
  std::string excess_of_orphans(std::uint32_t most_percent) const;

  // Calls visit_one_image_copy with each orphan, in ascending order. Orphans that are not approved
  // are reported first, and skipped.
  // Errors: Cr_ErrnoException, before the first call, when the database cannot be read.
  virtual void visit_image_copies_not_in_TV_impl();

  virtual void visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) = 0;

  // Relative to the log directory.
  static const std::string relative_log_dir;

  // File names with the current time in seconds.
  static std::string log_fname();
  static std::string missing_images_fname();

  // The counts of a run in words.
  static std::string text_of(const record::DirCounts& counts);

  // Whether POs are saved before they are deleted; true by default.
  void set_saves_pos(bool saves_pos) { m_saves_pos = saves_pos; }

  void set_catalog_backup_time(std::int64_t seconds) { m_catalog_backup_time = seconds; }

  // The orphans that may be deleted, which must outlive the visitor; null, the default, for all.
  void set_approved(const ApprovedOrphans::Directory* approved) { m_approved = approved; }

 protected:
  // The visited orphan, with its matches.
  const record::Orphan& orphan(std::int64_t backup_time, std::uint32_t copy_number) const;

  const DeletionMatches& matches() const { return m_matches; }
  bool saves_pos() const { return m_saves_pos; }

  void count_taken(const record::Orphan& orphan) const;

 private:
  void count_absent_copies();
  bool is_of_absent_copy(const std::string& basename) const;
  bool is_approved(const record::Orphan& orphan) const;
  void leave_unapproved();
  void find_matches();
  cr_status_t find_matches(bool with_sizes);
  void compare_image(std::int64_t backup_time, std::map<std::uint32_t, bool>& copies);

  std::int64_t m_catalog_backup_time = 0;  // seconds since the epoch
  boost::filesystem::path m_admincmd_dir;
  std::string m_disk_pool;
  record::MissingCopy m_missing;       // the last one reported
  const DeletionMatches::Rows m_rows;  // kept if the visitor can delete
  bool m_saves_pos = true;
  std::vector<CopyKey> m_approved_orphans;  // approved and still orphans, ascending
  DeletionMatches m_matches;
  const ApprovedOrphans::Directory* m_approved = nullptr;
};

}  // namespace catalog::podb
