#include "catalog/orphans/basename_time_and_copy_set.h"

#include <ctime>
#include <utility>

#include <boost/lexical_cast/bad_lexical_cast.hpp>

namespace catalog::podb {

BasenameTimeAndCopySet::BasenameTimeAndCopySet(const boost::filesystem::path& policy_dir,
                                               ConsistencyMessages& messages,
                                               record::Directory& directory, CopySet copies,
                                               SQLitePODB::Access access)
    : BaseVisitPODB(policy_dir, messages.log(), directory, access),
      m_messages(messages),
      m_image_copies(std::move(copies)) {}

CopySet BasenameTimeAndCopySet::release_copies() {
  m_image_copies.shrink();
  return std::move(m_image_copies);
}

int BasenameTimeAndCopySet::visit_podb_impl() {
  constexpr std::int64_t k_day_seconds = 86400;
  const cr_status_t status =
      podb().get_basenames([this](std::string_view basename) { insert(basename); });
  if (status != k_status_ok) m_image_copies = CopySet();
  m_image_copies.finish();
  tally().copies = m_image_copies.size();
  tally().future_copies = m_image_copies.count_later_than(std::time(nullptr) + k_day_seconds);
  return status;
}

void BasenameTimeAndCopySet::insert(std::string_view basename) {
  ++tally().pos;
  try {
    m_name.parse(basename, client());
    m_image_copies.insert({m_name.backup_time, m_name.copy_number});
  } catch (const Cr_ErrnoException& error) {
    if (error.GetStatus() == k_status_handled) return;
    m_messages.unparsed(directory(), policy_path(), {std::string(basename), error.GetString()});
  } catch (const boost::bad_lexical_cast& error) {
    m_messages.unparsed_number(directory(), policy_path(), {std::string(basename), error.what()});
  }
}

// Copies that remain in the set after all images are orphans.
void BasenameTimeAndCopySet::set_in_tvr_cat(std::int64_t backup_time,
                                            std::map<std::uint32_t, bool>& copies) {
  for (auto& [copy_number, in_metadata] : copies) {
    if (m_image_copies.erase({backup_time, copy_number})) in_metadata = true;
  }
}

}  // namespace catalog::podb
