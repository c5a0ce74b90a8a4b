#include "catalog/orphans/base_compare_with_tvr.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <utility>
#include <vector>

#include "dct/filesystem.h"
#include "files/storage_layout.h"
#include "status/status.h"
#include "tvr_utils/tvr_image_iterator.h"

namespace catalog::podb {

const std::string BaseCompareWithTVR::relative_log_dir = layout::k_consistency_logs;

unsigned long listing_hours_ago(std::int64_t catalog_backup_time) {
  constexpr std::int64_t k_two_days_seconds = 172800;
  constexpr std::int64_t k_hour_seconds = 3600;
  const std::int64_t start =
      catalog_backup_time <= k_two_days_seconds ? 0 : catalog_backup_time - k_two_days_seconds;
  return static_cast<unsigned long>((std::time(nullptr) - start) / k_hour_seconds + 1);
}

BaseCompareWithTVR::BaseCompareWithTVR(const boost::filesystem::path& policy_dir,
                                       ConsistencyMessages& messages, record::Directory& directory,
                                       const boost::filesystem::path& admincmd_dir,
                                       const std::string& disk_pool, SQLitePODB::Access access)
    : BaseCompareWithTVR(policy_dir, messages, directory, CopySet(), access) {
  m_admincmd_dir = admincmd_dir;
  m_disk_pool = disk_pool;
  messages.started(directory, policy_dir);
  m_missing.client = client();
  m_missing.policy = policy();
  const int status = BasenameTimeAndCopySet::visit_podb_impl();
  if (status != k_status_ok) {
    throw Cr_ErrnoException(status, "ERROR (" + CRStatusToStringA(status) +
                                        "): could not read the deduplication metadata for " +
                                        dct::filesystem::as_utf8(policy_dir));
  }
}

BaseCompareWithTVR::BaseCompareWithTVR(const boost::filesystem::path& policy_dir,
                                       ConsistencyMessages& messages, record::Directory& directory,
                                       CopySet orphans, SQLitePODB::Access access)
    : BasenameTimeAndCopySet(policy_dir, messages, directory, std::move(orphans), access),
      m_rows(access == SQLitePODB::Access::read_write ? DeletionMatches::Rows::kept
                                                      : DeletionMatches::Rows::counted) {}

void BaseCompareWithTVR::compare_metadata_impl() {
  const TVRImageIterator end;
  TVRImageIterator image(m_admincmd_dir, m_disk_pool, client(), policy(),
                         listing_hours_ago(m_catalog_backup_time));
  std::vector<std::uint32_t> copy_numbers;
  std::map<std::uint32_t, bool> copies;
  for (; image != end; ++image) {
    // Most images have the copies of the one before, so the map is reused.
    if (image->copy_numbers != copy_numbers) {
      copies.clear();
      copy_numbers = image->copy_numbers;
    }
    for (const std::uint32_t copy_number : copy_numbers) copies[copy_number] = false;
    compare_image(image->backup_time, copies);
  }
}

void BaseCompareWithTVR::compare_image(std::int64_t backup_time,
                                       std::map<std::uint32_t, bool>& copies) {
  set_in_tvr_cat(backup_time, copies);
  for (const auto& [copy_number, in_metadata] : copies) {
    if (in_metadata) continue;
    ++tally().missing_copies;
    m_missing.backup_time = backup_time;
    m_missing.copy_number = copy_number;
    messages().missing(m_missing);
  }
}

std::string BaseCompareWithTVR::log_fname() {
  return "OrphanImages_" + std::to_string(std::time(nullptr)) + ".log";
}

std::string BaseCompareWithTVR::missing_images_fname() {
  return "MissingImages_" + std::to_string(std::time(nullptr)) + ".log";
}

std::string BaseCompareWithTVR::text_of(const record::DirCounts& counts) {
  return number_of(counts, &record::DirCounts::orphan_copies) + ", " +
         number_of(counts, &record::DirCounts::missing_copies);
}

std::string BaseCompareWithTVR::excess_of_orphans(std::uint32_t most_percent) const {
  constexpr std::uint64_t k_all_percent = 100;
  const std::uint64_t orphans = image_copies().size();
  if (orphans * k_all_percent <= tally().copies * most_percent) return "";
  return std::to_string(orphans) + " of " + std::to_string(tally().copies) +
         " copies are orphans, more than " + std::to_string(most_percent) + " percent";
}

void BaseCompareWithTVR::visit_image_copies_not_in_TV_impl() {
  if (m_approved != nullptr) count_absent_copies();
  if (image_copies().size() == 0) return;
  if (image_copies().size() == tally().copies) messages().none_listed(policy_path());
  find_matches();
  if (m_approved != nullptr) leave_unapproved();
  image_copies().for_each([this](const CopyKey& orphan) {
    ++tally().orphan_copies;
    visit_one_image_copy(orphan.backup_time, orphan.copy_number);
  });
}

void BaseCompareWithTVR::count_absent_copies() {
  m_approved_orphans.clear();
  image_copies().for_each([this](const CopyKey& copy) {
    if (m_approved->lists(copy)) m_approved_orphans.push_back(copy);
  });
  tally().absent_copies = m_approved->size() - m_approved_orphans.size();
}

// Whether a PO is of a copy that was an orphan in the dry run only: the backup catalog has it now.
bool BaseCompareWithTVR::is_of_absent_copy(const std::string& basename) const {
  const std::optional<CopyKey> copy = m_matches.copy_of(basename);
  return copy && m_approved->lists(*copy) &&
         !std::binary_search(m_approved_orphans.begin(), m_approved_orphans.end(), *copy);
}

bool BaseCompareWithTVR::is_approved(const record::Orphan& orphan) const {
  return m_approved->allows(orphan) &&
         std::none_of(orphan.other_copies.begin(), orphan.other_copies.end(),
                      [this](const std::string& name) { return is_of_absent_copy(name); });
}

// A PO counts for the first orphan that it matches. So an orphan that stays may leave later ones
// more POs than were approved, and these are checked again. That ends soon: only copies whose
// numbers have the same first digits match one PO.
void BaseCompareWithTVR::leave_unapproved() {
  std::map<CopyKey, record::Orphan> left;
  std::size_t left_before = 0;
  do {
    left_before = left.size();
    image_copies().for_each([&](const CopyKey& copy) {
      const record::Orphan& orphan = m_matches.of(copy);
      if (!is_approved(orphan)) left.emplace(copy, orphan);
    });
    if (left.size() == left_before) break;
    for (const auto& [copy, orphan] : left) erase(copy);
    find_matches();
  } while (image_copies().size() != 0);
  for (const auto& [copy, orphan] : left) {
    ++tally().orphan_copies;
    ++tally().unapproved_copies;
    messages().not_approved(directory(), orphan);
  }
}

// Damaged pages with sizes are no obstacle: the deletion may not need them.
void BaseCompareWithTVR::find_matches() {
  cr_status_t status = find_matches(true);
  if (status == k_status_db_damaged) status = find_matches(false);
  if (status != k_status_ok) {
    throw Cr_ErrnoException(status, "could not look up what the deletion takes",
                            CRStatusToStringA(status));
  }
}

cr_status_t BaseCompareWithTVR::find_matches(bool with_sizes) {
  // A search in the index costs as much as reading several POs.
  constexpr std::size_t k_pos_as_cheap_as_a_range = 3;
  m_matches = DeletionMatches(client(), image_copies(), m_rows);
  const bool few = image_copies().size() * k_pos_as_cheap_as_a_range < tally().pos;
  const std::vector<database::BasenameRange> all{{"", ""}};
  const cr_status_t status =
      podb().get_entries_in(few ? m_matches.ranges() : all, with_sizes,
                            [this](const SQLitePODB::Entry& po) { m_matches.add(po); });
  m_matches.finish();
  return status;
}

const record::Orphan& BaseCompareWithTVR::orphan(std::int64_t backup_time,
                                                 std::uint32_t copy_number) const {
  return m_matches.of({backup_time, copy_number});
}

void BaseCompareWithTVR::count_taken(const record::Orphan& orphan) const {
  tally().taken_pos += orphan.pos;
  tally().taken_bytes += orphan.bytes;
  tally().other_copies_pos += orphan.other_copies.size();
}

}  // namespace catalog::podb
