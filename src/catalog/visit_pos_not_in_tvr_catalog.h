#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "catalog/base_traverse_catalog.h"
#include "catalog/findings/consistency_findings.h"

namespace catalog {

// Compares the metadata with the backup catalog, directory by directory, and hands the copies that
// the catalog no longer has to the visitor V; at the end lists the images of clients and policies
// that no directory holds.
//
// V derives from podb::BaseCompareWithTVR, names its logs and says what access its work needs; the
// visitors it is built for are named at the end of the implementation.
//
// Threads: as the base; the list of visited pairs has a lock of its own.
// Ownership: shares its logs.
// Errors: a directory that fails is reported and noted, and the traversal goes on. summarize_impl
//   throws what the final listing throws.
template <class V>
class VisitPOsNotInTVRCatalog : public BaseTraverseCatalog {
 public:
  // `catalog_backup_time` in seconds since the epoch, 0 when not given.
  // Errors: filesystem_error or Cr_ErrnoException when a log cannot be made.
  VisitPOsNotInTVRCatalog(const boost::filesystem::path& log_directory,
                          const boost::filesystem::path& catalog_dir, unsigned num_threads,
                          bool stop_on_error, const boost::filesystem::path& admincmd_dir,
                          const std::string& disk_pool, std::int64_t catalog_backup_time);

  // Whether POs are saved before they are deleted; they are unless told otherwise. Before the traversal.
  void set_saves_pos(bool saves_pos) { m_saves_pos = saves_pos; }

  // 0 also for a failed directory, which does not end the walk. A deletion without a record does.
  int visit_dir(const boost::filesystem::path& policy_dir) override;

  // The final listing. Left out when a signal stopped the traversal: every directory that was not
  // visited would be reported as missing.
  void summarize_impl() override;

  std::string findings() const override;

 private:
  void compare_dir(const boost::filesystem::path& policy_dir, record::Directory& directory);
  void list_unvisited_pairs();
  std::set<std::string> visited_pairs();

  const boost::filesystem::path m_admincmd_dir;
  const std::string m_disk_pool;
  const std::int64_t m_catalog_backup_time;
  bool m_saves_pos = true;
  boost::shared_ptr<dct::util::LogFile> m_missing_images_log;
  std::unique_ptr<ConsistencyFindings> m_findings;
  std::vector<std::string> m_visited_pairs BOOST_THREAD_GUARDED_BY(m_mutex);
  boost::mutex m_mutex;
};

}  // namespace catalog
