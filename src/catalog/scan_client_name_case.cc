#include "catalog/scan_client_name_case.h"

#include <ctime>

#include "catalog/podb/scan_podb.h"
#include "dct/report_error.h"
#include "platform/reports.h"
#include "platform/run_log.h"
#include "platform/status.h"
#include "util/interrupt.h"

namespace fs = boost::filesystem;

namespace catalog {

const std::string ScanClientNameCase::clean_msg = "The deduplication metadata is clean.";
const std::string ScanClientNameCase::found_case_sensitivity_issues_msg =
    "\tThe deduplication metadata has client name case-sensitivity issues.\n\n"
    "\tPlease refer to the deduplication documentation and the help output of this tool\n"
    "\t(the -h and --help options) for more details and repair options.";

ScanClientNameCase::ScanClientNameCase(const fs::path& log_directory, const fs::path& catalog_dir,
                                       unsigned num_threads, bool stop_on_error)
    : BaseTraverseCatalog(log_directory, catalog_dir, num_threads, stop_on_error) {
  init_log_file(log_dir(),
                "client_names_with_case_sensitivity_issues." + std::to_string(std::time(nullptr)));
}

int ScanClientNameCase::visit_dir(const fs::path& policy_dir) {
  try {
    const int status = scan(policy_dir);
    if (status != k_status_ok && status != k_status_handled) report_unreadable(status, policy_dir);
    return status;
  } catch (const WalkRootChanged&) {
    throw;
  } catch (const Cr_ErrnoException& error) {
    ErrorA(error.GetString());
    return report_unreadable(error.GetStatus(), policy_dir);
  } catch (const std::exception& error) {
    ErrorA(error.what());
    return report_unreadable(k_status_malformed, policy_dir);
  }
}

int ScanClientNameCase::scan(const fs::path& policy_dir) {
  podb::ScanPODB visitor(policy_dir, log());
  if (!visitor.has_database()) require_same_root();
  const CountsAdder counted(totals_to_add_to(), visitor.counts());
  const int status = visitor.visit_podb_impl();
  if (status != k_status_ok && visitor.found_issue()) ++m_dirs_with_issues;
  return status;
}

int ScanClientNameCase::report_unreadable(int status, const fs::path& policy_dir) {
  report_failed_dir("ERROR (" + CRStatusToStringA(status) +
                    "): could not read the deduplication metadata for " + policy_dir.string() +
                    "\n");
  return status;
}

std::string ScanClientNameCase::findings() const {
  return std::to_string(m_dirs_with_issues) + " directories with issues";
}

void ScanClientNameCase::summarize_impl() {
  platform::print((m_dirs_with_issues != 0 ? found_case_sensitivity_issues_msg : clean_msg) + "\n");
  if (totals().failed_dirs() != 0) {
    dct::report_error("The scan is incomplete: " + std::to_string(totals().failed_dirs()) +
                      " policy directories could not be read.\n");
  }
  if (util::interrupted()) {
    dct::report_error("The scan is incomplete: it was interrupted.\n");
  }
}

}  // namespace catalog
