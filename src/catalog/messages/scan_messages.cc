#include "catalog/messages/scan_messages.h"

#include "console/standard_streams.h"
#include "record/run_record.h"
#include "status/status.h"

namespace catalog {

void ScanMessages::case_issue(record::Directory& directory) {
  record::run_record().add(directory);
  const std::string text = "Client " + directory.client + " has name case-sensitivity issues.\n";
  write_to_log(text);
  console::print(text);
  ++m_dirs_with_issues;
}

void ScanMessages::unreadable(record::Directory& directory,
                              const boost::filesystem::path& policy_dir, int status,
                              const std::string& reason) {
  const std::string status_text = CRStatusToStringA(status);
  report_failed(directory,
                "ERROR (" + status_text + "): could not read the deduplication metadata for " +
                    policy_dir.string() + "\n",
                reason.empty() ? status_text : reason);
}

std::string ScanMessages::text() const {
  return std::to_string(m_dirs_with_issues) + " directories with issues";
}

}  // namespace catalog
