#include "catalog/podb/scan_podb.h"

#include "catalog/podb/basename_parts.h"
#include "platform/reports.h"

namespace catalog::podb {

ScanPODB::ScanPODB(const boost::filesystem::path& policy_dir, dct::util::LogFile& log)
    : BaseVisitPODB(policy_dir, log, SQLitePODB::Access::read_only) {}

int ScanPODB::visit_podb_impl() {
  bool found = false;
  // Names in the client's own spelling, which are nearly all, need not be looked at.
  const cr_status_t status = podb().get_basenames_without(client(), [&](std::string_view basename) {
    ++tally().pos;
    found = found || match_prefix(basename, client()) == PrefixMatch::other_case;
  });
  if (status != k_status_ok) return status;
  if (!found) return k_status_ok;
  const std::string text = "Client " + client() + " has name case-sensitivity issues.\n";
  write_to_log(text);
  platform::print(text);
  m_found_issue = true;
  return k_status_handled;
}

}  // namespace catalog::podb
