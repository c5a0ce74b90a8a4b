#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "catalog/messages/consistency_messages.h"
#include "catalog/orphans/approved_orphans.h"
#include "catalog/orphans/consistency_limits.h"
#include "catalog/walk/base_traverse_catalog.h"
#include "tvr_utils/tvr_image.h"

namespace catalog {

// Compares the metadata with the backup catalog, directory by directory, and hands the copies that
// the catalog no longer has to the visitor V; at the end lists the images of clients and policies
// that no directory holds.
//
// V derives from podb::BaseCompareWithTVR, names its logs and says what access its work needs; the
// visitors it is built for are named at the end of the implementation.
//
// Threads: as the base; the list of visited pairs has a lock of its own.
// Ownership: shares its logs; refers to what was approved, which must outlive it.
// Errors: a directory that fails is reported and noted, and the traversal goes on. summarize_impl
//   throws what the final listing throws.
template <class V>
class VisitPOsNotInTVRCatalog : public BaseTraverseCatalog {
 public:
  // `catalog_backup_time` in seconds since the epoch, 0 when not given.
  // Errors: filesystem_error or Cr_ErrnoException when a log cannot be made.
  VisitPOsNotInTVRCatalog(const boost::filesystem::path& log_dir,
                          const boost::filesystem::path& catalog_dir, unsigned num_threads,
                          bool stop_on_error, const boost::filesystem::path& admincmd_dir,
                          const std::string& disk_pool, std::int64_t catalog_backup_time);

  // Whether POs are saved before they are deleted; they are unless told otherwise. Before the traversal.
  void set_saves_pos(bool saves_pos) { m_saves_pos = saves_pos; }

  // Before the traversal.
  void set_limits(const ConsistencyLimits& limits) { m_limits = limits; }

  bool wants(const boost::filesystem::path& policy_dir) const override;

  // 0 also for a failed directory, which does not end the walk. A deletion without a record does.
  int visit_dir(const boost::filesystem::path& policy_dir) override;

  // Counts what was approved of directories that are gone, and lists what no directory was compared
  // with.
  void summarize_impl() override;

  std::string findings() const override;
  std::vector<std::string> closing_lines() const override;

 protected:
  // Does the work of visit_dir in a directory. What it throws ends the directory; the walk goes on.
  int work_in(const boost::filesystem::path& policy_dir, record::Directory& directory,
              const std::function<void()>& work);

  // Reads the directory's copies, and hands their visitor on.
  void read_dir(const boost::filesystem::path& policy_dir, record::Directory& directory,
                const std::function<void(V&)>& compare);

  // Prints or deletes the orphans of a directory that was compared. When there are too many, none.
  // Returns what is said of these.
  std::string take_orphans(V& visitor, const record::Directory& directory) const;

  // Passes on each image of the backup catalog, until a signal comes.
  // Errors: those of the listing.
  void for_each_image(const std::function<void(const TVRImage&)>& visit) const;

  // Tells what is missing of the clients and policies that no directory was compared with. Left out
  // when a signal stopped the traversal: every directory that was not visited would be reported.
  virtual void list_rest();

  const ApprovedOrphans::Directory* approved_of(const record::Directory& directory) const;
  const ConsistencyLimits& limits() const { return m_limits; }
  ConsistencyMessages& consistency_findings() { return *m_messages; }

 private:
  void compare_dir(const boost::filesystem::path& policy_dir, record::Directory& directory);
  void note_visited(const V& visitor);
  void count_copies_of_absent_dirs();
  void list_unvisited_pairs();
  bool is_to_be_listed(const std::set<std::string>& visited, const std::string& client,
                       const std::string& policy) const;
  std::set<std::string> visited_pairs();

  const boost::filesystem::path m_admincmd_dir;
  const std::string m_disk_pool;
  const std::int64_t m_catalog_backup_time;
  bool m_saves_pos = true;
  ConsistencyLimits m_limits;
  std::atomic<std::uint64_t> m_approved_copies_of_visited_dirs{0};
  boost::shared_ptr<dct::util::LogFile> m_missing_images_log;
  std::unique_ptr<ConsistencyMessages> m_messages;
  std::vector<std::string> m_visited_pairs BOOST_THREAD_GUARDED_BY(m_mutex);
  boost::mutex m_mutex;
};

}  // namespace catalog
