#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "catalog/messages/consistency_messages.h"
#include "catalog/orphans/approved_orphans.h"
#include "catalog/walk/base_traverse_catalog.h"
#include "catalog/walk/dir_filter.h"
#include "tvr_utils/tvr_image.h"

namespace catalog {

// What a dry run or a deletion leaves alone, whatever the comparison says.
struct ConsistencyLimits {
  const ApprovedOrphans* approved = nullptr;  // every other orphan stays; null for no such limit
  std::optional<std::uint32_t> max_orphan_share;  // in percent of a directory's copies
  DirFilter filter;                               // other directories are not opened
};

// Compares the metadata with the backup catalog, directory by directory, and passes the copies that
// the backup catalog no longer has to the visitor V. At the end it lists the images of clients and
// policies without a directory.
//
// V derives from podb::BaseCompareWithTVR; it names its logs and the access that it needs.
//
// Threads: as the base; the set of visited pairs has its own lock.
// Ownership: shares its logs; refers to the approved orphans, which must outlive it.
// Errors: a failed directory is reported, and the traversal goes on. summarize_impl throws what the
//   final listing throws.
template <class V>
class VisitPOsNotInTVRCatalog : public BaseTraverseCatalog {
 public:
  // `catalog_backup_time` in seconds since the epoch, 0 when not given.
  // Errors: filesystem_error or Cr_ErrnoException when a log cannot be made.
  VisitPOsNotInTVRCatalog(const boost::filesystem::path& log_dir,
                          const boost::filesystem::path& tree_root, unsigned num_threads,
                          bool stop_on_error, const boost::filesystem::path& admincmd_dir,
                          const std::string& disk_pool, std::int64_t catalog_backup_time);

  // Whether POs are saved before they are deleted; true by default. Before the traversal.
  void set_saves_pos(bool saves_pos) { m_saves_pos = saves_pos; }

  // Before the traversal.
  void set_limits(const ConsistencyLimits& limits) { m_limits = limits; }

  bool wants(const boost::filesystem::path& policy_dir) const override;

  // 0 also for a failed directory. Only a deletion without a record ends the walk.
  int visit_dir(const boost::filesystem::path& policy_dir) override;

  // Counts the approved copies of directories that are gone, and lists the images of clients and
  // policies that were not compared.
  void summarize_impl() override;

  std::string findings() const override;
  std::vector<std::string> closing_lines() const override;

 protected:
  // Does the work of visit_dir. If it throws, the directory has failed, and the walk goes on.
  int work_in(const boost::filesystem::path& policy_dir, record::Directory& directory,
              const std::function<void()>& work);

  // Reads the directory's copies, and passes their visitor to `compare`.
  void read_dir(const boost::filesystem::path& policy_dir, record::Directory& directory,
                const std::function<void(V&)>& compare);

  // Prints or deletes the orphans of a compared directory. If there are too many, it does neither
  // and returns the reason, else an empty text.
  std::string take_orphans(V& visitor, const record::Directory& directory) const;

  // Calls `visit` with each image of the backup catalog, until a signal comes.
  // Errors: those of the listing.
  void for_each_image(const std::function<void(const TVRImage&)>& visit) const;

  // Reports the missing copies of clients and policies that were not compared. Does nothing after a
  // signal: it would report every directory that was not visited.
  virtual void list_rest();

  const ApprovedOrphans::Directory* approved_of(const record::Directory& directory) const;
  const ConsistencyLimits& limits() const { return m_limits; }
  ConsistencyMessages& messages() { return *m_messages; }

 private:
  void compare_dir(const boost::filesystem::path& policy_dir, record::Directory& directory);
  void note_visited(const V& visitor);
  void count_copies_of_absent_dirs();
  void list_unvisited_pairs();
  bool is_to_be_listed(const std::string& client, const std::string& policy);

  const boost::filesystem::path m_admincmd_dir;
  const std::string m_disk_pool;
  const std::int64_t m_catalog_backup_time;
  bool m_saves_pos = true;
  ConsistencyLimits m_limits;
  std::atomic<std::uint64_t> m_approved_copies_of_visited_dirs{0};
  boost::shared_ptr<dct::util::LogFile> m_missing_images_log;
  std::unique_ptr<ConsistencyMessages> m_messages;
  std::set<std::string> m_visited_pairs BOOST_THREAD_GUARDED_BY(m_mutex);
  boost::mutex m_mutex;
};

}  // namespace catalog
