#include "catalog/orphans/compare_in_one_listing.h"

#include <algorithm>
#include <utility>

#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include "catalog/orphans/delete_orphan_pos.h"
#include "catalog/orphans/print_orphan_pos.h"
#include "console/run_log.h"
#include "record/run_record.h"
#include "signals/interrupt.h"
#include "status/status.h"
#include "text/one_line.h"
#include "tvr_utils/names_in_listing.h"

namespace fs = boost::filesystem;

namespace catalog {

namespace {

const char* const k_not_called = "Could not call tvimagequery: ";

// If a name cannot be in a listing, all its copies look like orphans. That is logged, and only
// approved ones are deleted.
void require_listable(const record::Directory& directory, bool may_be_taken) {
  for (const std::string& name : {directory.client, directory.policy}) {
    if (tvr_utils::can_be_listed(name)) continue;
    const std::string text =
        "the name " + util::on_one_line(name) + " cannot stand in a listing of the catalog";
    if (!may_be_taken) {
      throw Cr_ErrnoException(k_status_malformed,
                              text + "; its copies are deleted if approved only");
    }
    WarningA(text + ", so that its copies look like orphans");
  }
}

}  // namespace

template <class V>
void CompareInOneListing<V>::begin(Step step) {
  m_step_start = Clock::now();
  m_step = step;
}

template <class V>
std::unique_ptr<DirsSource> CompareInOneListing<V>::open_dirs() const {
  if (m_step == Step::reading) return BaseTraverseCatalog::open_dirs();
  return m_dirs.source(this->tree_root());
}

template <class V>
std::optional<TaskStep> CompareInOneListing<V>::step() const {
  TaskStep step;
  step.start = m_step_start;
  switch (m_step) {
    case Step::reading:
      step.name = "reading";
      break;
    case Step::listing:
      step.name = "listing the backup catalog";
      step.images = m_images;
      break;
    case Step::orphans:
      step.name = V::step_name;
      step.dirs = this->totals().dirs();
      break;
  }
  return step;
}

template <class V>
int CompareInOneListing<V>::visit_dir(const fs::path& policy_dir) {
  if (m_step == Step::reading) {
    record::Directory directory = directory_of(policy_dir);
    return this->work_in(policy_dir, directory, [&] {
      this->read_dir(policy_dir, directory,
                     [&](V& visitor) { m_dirs.add(directory, visitor.release_copies()); });
    });
  }
  DirTable::Entry& dir = m_dirs.at(policy_dir);
  record::Directory directory = dir.directory();
  dir.is_done = true;
  return this->work_in(policy_dir, directory, [&] {
    visit_orphans(policy_dir, dir, directory);
    this->messages().done(directory);
  });
}

template <class V>
void CompareInOneListing<V>::visit_orphans(const fs::path& policy_dir, DirTable::Entry& dir,
                                           record::Directory& directory) {
  if (dir.copies.size() == 0) {
    const ApprovedOrphans::Directory* approved = this->approved_of(directory);
    if (approved != nullptr) directory.counts.absent_copies = approved->size();
    return;
  }
  // The orphans belong to the databases that were read, not to those of another metadata tree.
  this->require_same_root();
  const bool is_reviewed = this->approved_of(directory) != nullptr;
  require_listable(directory, is_reviewed || V::access == SQLitePODB::Access::read_only);
  V visitor(policy_dir, this->messages(), directory, std::move(dir.copies), V::access);
  if (!visitor.has_database())
    throw Cr_ErrnoException(k_status_db_cannot_open, "its database is gone since it was read");
  const std::string excess = this->take_orphans(visitor, directory);
  if (!excess.empty()) throw Cr_ErrnoException(k_status_over_limit, excess);
}

template <class V>
typename CompareInOneListing<V>::AfterWalk CompareInOneListing<V>::after_walk() {
  if (m_step == Step::orphans) return AfterWalk::nothing;
  m_dirs.finish();
  begin(Step::listing);
  // The listing may take long, and the run may end in it.
  store_totals(this->totals());
  (void)record::run_record().commit();
  m_is_listed = list_catalog();
  if (!m_is_listed) return AfterWalk::failure;
  this->require_same_root();
  this->totals_to_add_to().set_done_dirs(this->totals().failed_dirs());
  begin(Step::orphans);
  return AfterWalk::another_walk;
}

// False after a failure or a signal.
template <class V>
bool CompareInOneListing<V>::list_catalog() {
  try {
    this->for_each_image([this](const TVRImage& image) { match(image); });
    return !util::interrupted();
  } catch (const Cr_ErrnoException& error) {
    this->messages().not_listed(error.GetStatus(), k_not_called + error.GetString());
  } catch (const boost::bad_lexical_cast& error) {
    this->messages().not_listed(k_status_malformed, k_not_called + std::string(error.what()));
  }
  return false;
}

template <class V>
void CompareInOneListing<V>::match(const TVRImage& image) {
  ++m_images;
  // Images of one client and policy are mostly consecutive.
  if (image.client_name != m_image.client || image.policy_name != m_image.policy) look_up(image);
  if (m_matching.empty() && !m_is_missing) return;
  m_image.backup_time = image.backup_time;
  m_numbers = image.copy_numbers;
  if (m_numbers.size() > 1) {
    std::sort(m_numbers.begin(), m_numbers.end());
    m_numbers.erase(std::unique(m_numbers.begin(), m_numbers.end()), m_numbers.end());
  }
  for (DirTable::Entry& dir : m_matching) match(&dir);
  if (m_is_missing) match(nullptr);
}

template <class V>
void CompareInOneListing<V>::look_up(const TVRImage& image) {
  m_image.client = image.client_name;
  m_image.policy = image.policy_name;
  m_matching = m_dirs.find(m_image.client, m_image.policy);
  m_is_missing = m_matching.empty() && this->limits().filter.wants(m_image.client, m_image.policy);
  if (!m_matching.empty()) return;
  for (DirTable::Entry& dir : m_dirs.find_any_case(m_image.client, m_image.policy)) {
    if (std::exchange(dir.is_warned_of, true)) continue;
    const record::Directory directory = dir.directory();
    tvr_utils::warn_of_other_spelling({m_image.client, m_image.policy},
                                      {directory.client, directory.policy});
  }
}

// Erases the copies of the current image from those of the directory; copies that remain after all
// images are orphans. Reports those that the directory lacks: all if there is none.
template <class V>
void CompareInOneListing<V>::match(DirTable::Entry* dir) {
  std::uint64_t& missing_copies =
      dir != nullptr ? dir->missing_copies : m_counts_of_no_dirs.missing_copies;
  for (const std::uint32_t number : m_numbers) {
    if (dir != nullptr && dir->copies.erase({m_image.backup_time, number})) continue;
    ++missing_copies;
    m_image.copy_number = number;
    this->messages().missing(m_image);
  }
}

// All are reported already. Missing copies of directories that were not visited again count too.
template <class V>
void CompareInOneListing<V>::list_rest() {
  record::DirCounts counts = m_counts_of_no_dirs;
  for (const DirTable::Entry& dir : m_dirs.entries()) {
    if (!dir.is_done) counts.missing_copies += dir.missing_copies;
  }
  this->totals_to_add_to().add(counts);
  if (util::interrupted() && !m_is_listed)
    InfoA("the listing of missing images was left out or cut short");
}

template class CompareInOneListing<podb::PrintOrphanPOs>;
template class CompareInOneListing<podb::DeleteOrphanPOs>;

}  // namespace catalog
