#pragma once

#include <string>

#include "catalog/podb/basename_time_and_copy_set.h"
#include "catalog/podb/deletion_takings.h"

namespace catalog::podb {

// The hours that a listing of the backup catalog reaches back: to two days before the catalog's own
// backup at `catalog_backup_time` (seconds since the epoch), or to the epoch where that is 0.
unsigned long listing_hours_ago(std::int64_t catalog_backup_time);

// One line of the missing-images report: a copy that the catalog holds and the metadata lacks.
std::string missing_image_line(const std::string& client, const std::string& policy,
                               std::int64_t backup_time, std::uint32_t copy_number);

// Compares the image copies of one policy directory with the backup catalog's.
//
// Ownership: refers to both logs, which must outlive it.
// Errors: the constructor throws Cr_ErrnoException, naming the directory, when the database cannot
//   be opened or read.
class BaseCompareWithTVR : public BasenameTimeAndCopySet {
 public:
  BaseCompareWithTVR(const boost::filesystem::path& policy_dir, dct::util::LogFile& log,
                     dct::util::LogFile& missing_images_log,
                     const boost::filesystem::path& admincmd_dir, const std::string& disk_pool,
                     SQLitePODB::Access access);

  // Takes the copies that the catalog holds out of the set, and writes those that the metadata
  // lacks to the missing-images log. To be called once.
  // Errors: what the listing throws. What the set holds then is not known to be orphaned.
  virtual void compare_metadata_impl();

  // Hands each orphan, in ascending order, to visit_one_image_copy.
  // Errors: Cr_ErrnoException when the database cannot be read any more; nothing was handed on then.
  virtual void visit_image_copies_not_in_TV_impl();

  virtual void visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) = 0;

  // Below the log directory.
  static const std::string relative_log_dir;

  // File names that carry the second in which they are asked for.
  static std::string log_fname();
  static std::string missing_images_fname();
  static std::string policy_dirs_fname();

  // What was counted in the directory, as a line of the report on policy directories.
  std::string counts_line() const;

  // What the counts of a run say was found.
  static std::string findings(const DirCounts& counts);

  void set_catalog_backup_time(std::int64_t seconds) { m_catalog_backup_time = seconds; }

 protected:
  // The text that names an image copy in every message, with a line end.
  std::string image_copy_text(std::int64_t backup_time, std::uint32_t copy_number) const;

  // What the deletion statement takes for the orphan that is being visited.
  const Taking& taking(std::int64_t backup_time, std::uint32_t copy_number) const;

 private:
  void find_takings();
  void compare_image(std::int64_t backup_time, std::map<std::uint32_t, bool>& copies);

  std::int64_t m_catalog_backup_time = 0;  // seconds since the epoch
  boost::filesystem::path m_admincmd_dir;
  std::string m_disk_pool;
  dct::util::LogFile& m_missing_images_log;
  DeletionTakings m_takings;
};

}  // namespace catalog::podb
