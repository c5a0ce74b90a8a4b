#include "catalog/podb/basename_time_and_copy_set.h"

#include <ctime>

#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include "dct/filesystem.h"
#include "platform/run_log.h"

namespace catalog::podb {

BasenameTimeAndCopySet::BasenameTimeAndCopySet(const boost::filesystem::path& policy_dir,
                                               dct::util::LogFile& log, SQLitePODB::Access access)
    : BaseVisitPODB(policy_dir, log, access) {}

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
    if (error.GetStatus() != k_status_handled) report_unparsed(error.GetString());
  } catch (const boost::bad_lexical_cast& error) {
    report_unparsed(error.what());
    // The text does not tell which name it was.
    WarningA("not a number in the PO file name " + std::string(basename) + "; dirname " +
             dct::filesystem::as_utf8(policy_path()));
  }
}

void BasenameTimeAndCopySet::report_unparsed(const std::string& text) const {
  write_to_log("ERROR: could not parse PO file name; " + text + "; dirname " +
               dct::filesystem::as_utf8(policy_path()) + "\n");
}

void BasenameTimeAndCopySet::set_in_tvr_cat(std::int64_t backup_time,
                                            std::map<std::uint32_t, bool>& copies) {
  for (auto& [copy_number, in_metadata] : copies) {
    if (m_image_copies.erase({backup_time, copy_number})) in_metadata = true;
  }
}

}  // namespace catalog::podb
