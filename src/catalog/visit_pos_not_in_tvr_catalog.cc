#include "catalog/visit_pos_not_in_tvr_catalog.h"

#include <set>

#include <boost/scope_exit.hpp>

#include "catalog/podb/delete_orphan_pos.h"
#include "catalog/podb/print_orphan_pos.h"
#include "dct/log_file.h"
#include "platform/reports.h"
#include "platform/run_log.h"
#include "platform/status.h"
#include "record/run_record.h"
#include "tvr_utils/tvr_image_iterator.h"
#include "util/interrupt.h"

namespace fs = boost::filesystem;

namespace catalog {

namespace {

std::string pair_text(const std::string& client, const std::string& policy) {
  return client + " " + policy;
}

void compare(podb::BaseCompareWithTVR& visitor) {
  try {
    visitor.compare_metadata_impl();
  } catch (const Cr_ErrnoException& error) {
    throw Cr_ErrnoException(error.GetStatus(), "Could not call tvimagequery: " + error.GetString());
  }
}

}  // namespace

template <class V>
VisitPOsNotInTVRCatalog<V>::VisitPOsNotInTVRCatalog(const fs::path& log_directory,
                                                    const fs::path& catalog_dir,
                                                    unsigned num_threads, bool stop_on_error,
                                                    const fs::path& admincmd_dir,
                                                    const std::string& disk_pool,
                                                    std::int64_t catalog_backup_time)
    : BaseTraverseCatalog(log_directory, catalog_dir, num_threads, stop_on_error),
      m_admincmd_dir(admincmd_dir),
      m_disk_pool(disk_pool),
      m_catalog_backup_time(catalog_backup_time) {
  const fs::path dir = log_dir() / V::relative_log_dir;
  init_log_file(dir, V::log_fname());
  dct::util::make_LogFile(dir / V::missing_images_fname(), m_missing_images_log);
  // The name is asked for anew, so it may be a second late; scripts know that.
  platform::print("Missing images file: " + (dir / V::missing_images_fname()).string() + "\n");
  m_findings = std::make_unique<ConsistencyFindings>(log(), *m_missing_images_log,
                                                     totals_to_add_to(), V::effect);
  m_findings->begin_missing();
  platform::print(V::initial_string());
}

template <class V>
int VisitPOsNotInTVRCatalog<V>::visit_dir(const fs::path& policy_dir) {
  record::Directory directory = directory_of(policy_dir);
  const auto work = [&] {
    compare_dir(policy_dir, directory);
    m_findings->done(directory);
    return k_status_ok;
  };
  return do_or_fail(work, [&](int status, const std::string& why) {
    if (status == k_status_interrupted) {
      m_findings->unfinished(directory, policy_dir, why);
    } else {
      m_findings->not_compared(directory, policy_dir, status, why);
    }
    return status == k_status_record_lost ? status : k_status_ok;
  });
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::compare_dir(const fs::path& policy_dir,
                                             record::Directory& directory) {
  V visitor(policy_dir, *m_findings, directory, m_admincmd_dir, m_disk_pool, V::access);
  if (!visitor.has_database()) require_same_root();
  // Before anything is deleted, while there is time to stop; the totals count them all.
  if (directory.counts.future_copies != 0) m_findings->future_copies(policy_dir);
  visitor.set_catalog_backup_time(m_catalog_backup_time);
  visitor.set_saves_pos(m_saves_pos);
  compare(visitor);
  visitor.visit_image_copies_not_in_TV_impl();
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  m_visited_pairs.push_back(pair_text(visitor.client(), visitor.policy()));
}

template <class V>
std::set<std::string> VisitPOsNotInTVRCatalog<V>::visited_pairs() {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  return {m_visited_pairs.begin(), m_visited_pairs.end()};
}

template <class V>
std::string VisitPOsNotInTVRCatalog<V>::findings() const {
  return V::text_of(totals().counts());
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::summarize_impl() {
  (void)record::run_record().commit();  // the listing may take long
  if (!util::interrupted()) list_unvisited_pairs();
  if (util::interrupted()) InfoA("the listing of missing images was left out or cut short");
  BaseTraverseCatalog::summarize_impl();
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::list_unvisited_pairs() {
  const std::set<std::string> visited = visited_pairs();
  record::DirCounts counts;
  // Also when the listing breaks off.
  BOOST_SCOPE_EXIT_ALL(&) {
    totals_to_add_to().add(counts);
  };
  record::MissingCopy missing;
  bool is_visited = false;
  const TVRImageIterator end;
  TVRImageIterator image(m_admincmd_dir, m_disk_pool,
                         podb::listing_hours_ago(m_catalog_backup_time));
  for (; image != end && !util::interrupted(); ++image) {
    // Images of one pair mostly stand together.
    if (image->client_name != missing.client || image->policy_name != missing.policy) {
      missing.client = image->client_name;
      missing.policy = image->policy_name;
      is_visited = visited.count(pair_text(missing.client, missing.policy)) != 0;
    }
    if (is_visited) continue;
    missing.backup_time = image->backup_time;
    std::set<std::uint32_t> reported;
    for (const std::uint32_t copy_number : image->copy_numbers) {
      if (!reported.insert(copy_number).second) continue;
      ++counts.missing_copies;
      missing.copy_number = copy_number;
      m_findings->missing(missing);
    }
  }
}

template class VisitPOsNotInTVRCatalog<podb::PrintOrphanPOs>;
template class VisitPOsNotInTVRCatalog<podb::DeleteOrphanPOs>;

}  // namespace catalog
