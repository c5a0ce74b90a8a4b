#include "catalog/orphans/visit_pos_not_in_tvr_catalog.h"

#include <boost/scope_exit.hpp>

#include "catalog/orphans/delete_orphan_pos.h"
#include "catalog/orphans/print_orphan_pos.h"
#include "console/run_log.h"
#include "console/standard_streams.h"
#include "dct/log_file.h"
#include "record/run_record.h"
#include "signals/interrupt.h"
#include "status/status.h"
#include "tvr_utils/tvr_image_iterator.h"

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
VisitPOsNotInTVRCatalog<V>::VisitPOsNotInTVRCatalog(
    const fs::path& log_dir, const fs::path& tree_root, unsigned num_threads, bool stop_on_error,
    const fs::path& admincmd_dir, const std::string& disk_pool, std::int64_t catalog_backup_time)
    : BaseTraverseCatalog(log_dir, tree_root, num_threads, stop_on_error),
      m_admincmd_dir(admincmd_dir),
      m_disk_pool(disk_pool),
      m_catalog_backup_time(catalog_backup_time) {
  const fs::path dir = log_dir / V::relative_log_dir;
  init_log_file(dir, V::log_fname());
  dct::util::make_LogFile(dir / V::missing_images_fname(), m_missing_images_log);
  // The printed name is made anew, so it may be a second late; scripts know that.
  console::print("Missing images file: " + (dir / V::missing_images_fname()).string() + "\n");
  m_messages =
      std::make_unique<ConsistencyMessages>(log(), *m_missing_images_log, totals_to_add_to());
  m_messages->begin_missing();
  console::print(V::initial_string());
}

template <class V>
bool VisitPOsNotInTVRCatalog<V>::wants(const fs::path& policy_dir) const {
  return m_limits.filter.wants(policy_dir.parent_path().filename().string(),
                               policy_dir.filename().string());
}

template <class V>
int VisitPOsNotInTVRCatalog<V>::visit_dir(const fs::path& policy_dir) {
  record::Directory directory = directory_of(policy_dir);
  return work_in(policy_dir, directory, [&] {
    compare_dir(policy_dir, directory);
    m_messages->done(directory);
  });
}

template <class V>
int VisitPOsNotInTVRCatalog<V>::work_in(const fs::path& policy_dir, record::Directory& directory,
                                        const std::function<void()>& work) {
  const auto succeed = [&] {
    work();
    return k_status_ok;
  };
  return do_or_fail(succeed, [&](int status, const std::string& why) {
    if (status == k_status_interrupted) {
      m_messages->unfinished(directory, policy_dir, why);
    } else {
      m_messages->not_compared(directory, policy_dir, status, why);
    }
    return status == k_status_record_lost ? status : k_status_ok;
  });
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::compare_dir(const fs::path& policy_dir,
                                             record::Directory& directory) {
  read_dir(policy_dir, directory, [&](V& visitor) {
    visitor.set_catalog_backup_time(m_catalog_backup_time);
    compare(visitor);
    const std::string excess = take_orphans(visitor, directory);
    // A directory with too many orphans counts as visited: its missing copies are reported already.
    note_visited(visitor);
    if (!excess.empty()) throw Cr_ErrnoException(k_status_over_limit, excess);
  });
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::read_dir(const fs::path& policy_dir, record::Directory& directory,
                                          const std::function<void(V&)>& compare) {
  const ApprovedOrphans::Directory* approved = approved_of(directory);
  if (approved != nullptr) m_approved_copies_of_visited_dirs += approved->size();
  V visitor(policy_dir, *m_messages, directory, m_admincmd_dir, m_disk_pool, V::access);
  if (!visitor.has_database()) require_same_root();
  // Before anything is deleted, so that an operator can still stop the run.
  if (directory.counts.future_copies != 0) m_messages->future_copies(policy_dir);
  compare(visitor);
}

template <class V>
std::string VisitPOsNotInTVRCatalog<V>::take_orphans(V& visitor,
                                                     const record::Directory& directory) const {
  if (m_limits.max_orphan_share) {
    std::string excess = visitor.excess_of_orphans(*m_limits.max_orphan_share);
    if (!excess.empty()) return excess;
  }
  visitor.set_saves_pos(m_saves_pos);
  visitor.set_approved(approved_of(directory));
  visitor.visit_image_copies_not_in_TV_impl();
  return "";
}

template <class V>
const ApprovedOrphans::Directory* VisitPOsNotInTVRCatalog<V>::approved_of(
    const record::Directory& directory) const {
  return m_limits.approved == nullptr ? nullptr : &m_limits.approved->of(directory);
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::note_visited(const V& visitor) {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  m_visited_pairs.insert(pair_text(visitor.client(), visitor.policy()));
}

template <class V>
std::string VisitPOsNotInTVRCatalog<V>::findings() const {
  return V::text_of(totals().counts());
}

template <class V>
std::vector<std::string> VisitPOsNotInTVRCatalog<V>::closing_lines() const {
  std::vector<std::string> lines;
  if (!m_limits.filter.wants_all()) {
    lines.push_back(std::to_string(totals().skipped_dirs()) + " policy directories skipped");
  }
  if (m_limits.approved != nullptr) {
    const record::DirCounts counts = totals().counts();
    lines.push_back(number_of(counts, &record::DirCounts::unapproved_copies) + ", " +
                    number_of(counts, &record::DirCounts::absent_copies));
  }
  return lines;
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::summarize_impl() {
  if (m_limits.approved != nullptr && reached_end()) count_copies_of_absent_dirs();
  list_rest();
  BaseTraverseCatalog::summarize_impl();
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::list_rest() {
  (void)record::run_record().commit();  // the listing may take long
  if (!util::interrupted()) list_unvisited_pairs();
  if (util::interrupted()) InfoA("the listing of missing images was left out or cut short");
}

// The copies of vanished directories are absent. Those of failed directories may still be orphans.
template <class V>
void VisitPOsNotInTVRCatalog<V>::count_copies_of_absent_dirs() {
  record::DirCounts counts;
  counts.absent_copies =
      m_limits.approved->count(m_limits.filter) - m_approved_copies_of_visited_dirs;
  totals_to_add_to().add(counts);
}

template <class V>
bool VisitPOsNotInTVRCatalog<V>::is_to_be_listed(const std::string& client,
                                                 const std::string& policy) {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  return m_visited_pairs.count(pair_text(client, policy)) == 0 &&
         m_limits.filter.wants(client, policy);
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::list_unvisited_pairs() {
  record::DirCounts counts;
  // Also if the listing fails.
  BOOST_SCOPE_EXIT_ALL(&) {
    totals_to_add_to().add(counts);
  };
  record::MissingCopy missing;
  bool is_listed = false;
  for_each_image([&](const TVRImage& image) {
    // Images of one pair are mostly consecutive.
    if (image.client_name != missing.client || image.policy_name != missing.policy) {
      missing.client = image.client_name;
      missing.policy = image.policy_name;
      is_listed = is_to_be_listed(missing.client, missing.policy);
    }
    if (!is_listed) return;
    missing.backup_time = image.backup_time;
    std::set<std::uint32_t> reported;
    for (const std::uint32_t copy_number : image.copy_numbers) {
      if (!reported.insert(copy_number).second) continue;
      ++counts.missing_copies;
      missing.copy_number = copy_number;
      m_messages->missing(missing);
    }
  });
}

template <class V>
void VisitPOsNotInTVRCatalog<V>::for_each_image(
    const std::function<void(const TVRImage&)>& visit) const {
  const TVRImageIterator end;
  TVRImageIterator image(m_admincmd_dir, m_disk_pool,
                         podb::listing_hours_ago(m_catalog_backup_time));
  for (; image != end && !util::interrupted(); ++image) visit(*image);
}

template class VisitPOsNotInTVRCatalog<podb::PrintOrphanPOs>;
template class VisitPOsNotInTVRCatalog<podb::DeleteOrphanPOs>;

}  // namespace catalog
