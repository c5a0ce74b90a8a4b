#include "catalog/visit_pos_not_in_tvr_catalog.h"

#include <set>

#include "catalog/podb/delete_orphan_pos.h"
#include "catalog/podb/print_orphan_pos.h"
#include "dct/filesystem.h"
#include "dct/log_file.h"
#include "platform/reports.h"
#include "platform/run_log.h"
#include "platform/status.h"
#include "tvr_utils/tvr_image_iterator.h"
#include "util/interrupt.h"

namespace fs = boost::filesystem;

namespace catalog {

namespace {

std::string pair_text(const std::string& client, const std::string& policy) {
  return client + " " + policy;
}

std::string with_one_line_end(const std::string& text) {
  return text.substr(0, text.find_last_not_of('\n') + 1) + "\n";
}

void compare(podb::BaseCompareWithTVR& visitor) {
  try {
    visitor.compare_metadata_impl();
  } catch (const Cr_ErrnoException& error) {
    throw Cr_ErrnoException(error.GetStatus(), "Could not call tvimagequery: " + error.GetString());
  }
}

// Each copy number once, in the order in which the image names them.
std::vector<std::uint32_t> distinct(const std::vector<std::uint32_t>& copy_numbers) {
  std::vector<std::uint32_t> result;
  std::set<std::uint32_t> seen;
  for (const std::uint32_t copy_number : copy_numbers) {
    if (seen.insert(copy_number).second) result.push_back(copy_number);
  }
  return result;
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
  m_missing_images_log->write("backupid|client_name|policy_name|copy_num|\n");
  dct::util::make_LogFile(dir / V::policy_dirs_fname(), m_policy_dirs_log);
  m_policy_dirs_log->write(
      "client_name|policy_name|pos|copies|orphan_copies|missing_copies|taken_pos|"
      "other_copies_pos|\n");
  platform::print(V::initial_string());
}

template <class V>
int VisitPOsNotInTVRCatalog<V>::visit_dir(const fs::path& policy_dir) {
  try {
    compare_dir(policy_dir);
  } catch (const WalkRootChanged&) {
    throw;
  } catch (const Cr_ErrnoException& error) {
    report(error.GetStatus(), policy_dir, error.GetString());
  } catch (const std::exception& error) {
    report(k_status_malformed, policy_dir, error.what());
  }
  return k_status_ok;
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::compare_dir(const fs::path& policy_dir) {
  V visitor(policy_dir, log(), *m_missing_images_log, m_admincmd_dir, m_disk_pool);
  if (!visitor.has_database()) require_same_root();
  const CountsAdder counted(totals_to_add_to(), visitor.counts());
  warn_of_clock(visitor.counts().future_copies, policy_dir);
  visitor.set_catalog_backup_time(m_catalog_backup_time);
  compare(visitor);
  visitor.visit_image_copies_not_in_TV_impl();
  m_policy_dirs_log->write(visitor.counts_line());
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  m_visited_pairs.push_back(pair_text(visitor.client(), visitor.policy()));
}

// Before anything is deleted, while there is time to stop; the totals count them all.
template <class V>
void VisitPOsNotInTVRCatalog<V>::warn_of_clock(std::uint64_t future_copies,
                                               const fs::path& policy_dir) {
  if (future_copies == 0 || m_warned_of_clock.exchange(true)) return;
  WarningA(dct::filesystem::as_utf8(policy_dir) + " has copies that are newer than this host's " +
           "clock by more than a day: a wrong clock makes orphans of live images");
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::report(int status, const fs::path& policy_dir,
                                        const std::string& text) {
  report_failed_dir(
      with_one_line_end("ERROR (" + CRStatusToStringA(status) +
                        ") : could not compare the Tavrin catalog and deduplication metadata for " +
                        dct::filesystem::as_utf8(policy_dir) + "; " + text));
}

template <class V>
std::vector<std::string> VisitPOsNotInTVRCatalog<V>::visited_pairs() {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  return m_visited_pairs;
}

template <class V>
std::string VisitPOsNotInTVRCatalog<V>::findings() const {
  return V::findings(totals().counts());
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::summarize_impl() {
  if (!util::interrupted()) list_unvisited_pairs();
  if (util::interrupted()) InfoA("the listing of missing images was left out or cut short");
  BaseTraverseCatalog::summarize_impl();
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::list_unvisited_pairs() {
  const std::vector<std::string> pairs = visited_pairs();
  const std::set<std::string> visited(pairs.begin(), pairs.end());
  DirCounts counts;
  const CountsAdder counted(totals_to_add_to(), counts);
  std::string client;
  std::string policy;
  bool is_visited = false;
  const TVRImageIterator end;
  TVRImageIterator image(m_admincmd_dir, m_disk_pool,
                         podb::listing_hours_ago(m_catalog_backup_time));
  for (; image != end && !util::interrupted(); ++image) {
    // Images of one pair mostly stand together.
    if (image->client_name != client || image->policy_name != policy) {
      client = image->client_name;
      policy = image->policy_name;
      is_visited = visited.count(pair_text(client, policy)) != 0;
    }
    if (is_visited) continue;
    for (const std::uint32_t copy_number : distinct(image->copy_numbers)) {
      ++counts.missing_copies;
      m_missing_images_log->write(podb::missing_image_line(image->client_name, image->policy_name,
                                                           image->backup_time, copy_number));
    }
  }
}

template class VisitPOsNotInTVRCatalog<podb::PrintOrphanPOs>;
template class VisitPOsNotInTVRCatalog<podb::DeleteOrphanPOs>;

}  // namespace catalog
