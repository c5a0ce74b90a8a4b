#include "catalog/client_name_case/scan_podb.h"

#include "catalog/messages/scan_messages.h"
#include "catalog/podb/basename_parts.h"

namespace catalog::podb {

ScanPODB::ScanPODB(const boost::filesystem::path& policy_dir, ScanMessages& messages,
                   record::Directory& directory)
    : BaseVisitPODB(policy_dir, messages.log(), directory, SQLitePODB::Access::read_only),
      m_messages(messages) {}

int ScanPODB::visit_podb_impl() {
  bool found = false;
  // Skips the names in the client's own spelling, which are nearly all.
  const cr_status_t status = podb().get_basenames_without(client(), [&](std::string_view basename) {
    ++tally().pos;
    found = found || match_prefix(basename, client()) == PrefixMatch::other_case;
  });
  if (status != k_status_ok) return status;
  if (!found) return k_status_ok;
  m_messages.case_issue(directory());
  return k_status_handled;
}

}  // namespace catalog::podb
