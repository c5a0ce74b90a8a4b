#pragma once

#include <string>

#include "catalog/orphans/approved_orphans.h"
#include "catalog/orphans/basename_time_and_copy_set.h"
#include "catalog/orphans/deletion_matches.h"

namespace catalog::podb {

// The hours that a listing of the backup catalog reaches back: to two days before the catalog's own
// backup at `catalog_backup_time` (seconds since the epoch), or to the epoch where that is 0.
unsigned long listing_hours_ago(std::int64_t catalog_backup_time);

// Compares the image copies of one policy directory with the backup catalog's.
//
// Ownership: refers to findings and directory, which must outlive it.
// Errors: the constructor throws Cr_ErrnoException, naming the directory, when the database cannot
//   be opened or read.
class BaseCompareWithTVR : public BasenameTimeAndCopySet {
 public:
  BaseCompareWithTVR(const boost::filesystem::path& policy_dir, ConsistencyMessages& findings,
                     record::Directory& directory, const boost::filesystem::path& admincmd_dir,
                     const std::string& disk_pool, SQLitePODB::Access access);

  // With the orphans of a directory that was compared already; `directory` has what was counted.
  BaseCompareWithTVR(const boost::filesystem::path& policy_dir, ConsistencyMessages& findings,
                     record::Directory& directory, CopySet orphans, SQLitePODB::Access access);

  // Takes the copies that the catalog holds out of the set, and passes on those that the metadata
  // lacks. To be called once.
  // Errors: what the listing throws. What the set holds then is not known to be orphaned.
  virtual void compare_metadata_impl();

  // What is said of more orphans than `most_percent` of the directory's copies; empty if there are not
  // more. After the comparison.
  std::string excess_of_orphans(std::uint32_t most_percent) const;

  // Hands each orphan, in ascending order, to visit_one_image_copy. Those that may not be taken are
  // reported before, and left.
  // Errors: Cr_ErrnoException when the database cannot be read any more; nothing was handed on then.
  virtual void visit_image_copies_not_in_TV_impl();

  virtual void visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) = 0;

  // Below the log directory.
  static const std::string relative_log_dir;

  // File names that carry the second in which they are asked for.
  static std::string log_fname();
  static std::string missing_images_fname();

  // What the counts of a run say was found.
  static std::string text_of(const record::DirCounts& counts);

  // Whether POs are saved before they are deleted; they are unless told otherwise.
  void set_saves_pos(bool saves_pos) { m_saves_pos = saves_pos; }

  void set_catalog_backup_time(std::int64_t seconds) { m_catalog_backup_time = seconds; }

  // What of the directory may be taken; without it, each orphan. It must outlive the visitor.
  void set_approved(const ApprovedOrphans::Directory& approved) { m_approved = &approved; }

 protected:
  // The orphan that is being visited, with what its deletion statement takes.
  const record::Orphan& orphan(std::int64_t backup_time, std::uint32_t copy_number) const;

  const DeletionMatches& takings() const { return m_takings; }
  bool saves_pos() const { return m_saves_pos; }

  void count_taken(const record::Orphan& orphan) const;

 private:
  void count_absent_copies();
  bool is_of_absent_copy(const std::string& basename) const;
  bool may_go(const record::Orphan& orphan) const;
  void leave_unapproved();
  void find_takings();
  cr_status_t find_takings(bool with_sizes);
  void compare_image(std::int64_t backup_time, std::map<std::uint32_t, bool>& copies);

  std::int64_t m_catalog_backup_time = 0;  // seconds since the epoch
  boost::filesystem::path m_admincmd_dir;
  std::string m_disk_pool;
  record::MissingCopy m_missing;       // the one passed on last
  const DeletionMatches::Rows m_rows;  // whoever may write deletes
  bool m_saves_pos = true;
  std::vector<details::numbers>
      m_approved_orphans;  // that are approved and still orphans, ascending
  DeletionMatches m_takings;
  const ApprovedOrphans::Directory* m_approved = nullptr;
};

}  // namespace catalog::podb
