#include "catalog/client_name_case/scan_client_name_case.h"

#include <ctime>

#include "catalog/client_name_case/scan_podb.h"
#include "console/run_log.h"
#include "console/standard_streams.h"
#include "dct/report_error.h"
#include "signals/interrupt.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace catalog {

const std::string ScanClientNameCase::clean_msg = "The deduplication metadata is clean.";
const std::string ScanClientNameCase::found_case_sensitivity_issues_msg =
    "\tThe deduplication metadata has client name case-sensitivity issues.\n\n"
    "\tPlease refer to the deduplication documentation and the help output of this tool\n"
    "\t(the -h and --help options) for more details and repair options.";

ScanClientNameCase::ScanClientNameCase(const fs::path& log_dir, const fs::path& tree_root,
                                       unsigned num_threads, bool stop_on_error)
    : BaseTraverseCatalog(log_dir, tree_root, num_threads, stop_on_error),
      m_messages(init_log_file(log_dir, "client_names_with_case_sensitivity_issues." +
                                            std::to_string(std::time(nullptr))),
                 totals_to_add_to()) {}

int ScanClientNameCase::visit_dir(const fs::path& policy_dir) {
  record::Directory directory = directory_of(policy_dir);
  const auto fail = [&](int status, const std::string& why) {
    if (!why.empty()) ErrorA(why);
    m_messages.unreadable(directory, policy_dir, status, why);
    return status;
  };
  const auto work = [&] {
    const int status = scan(policy_dir, directory);
    if (status != k_status_ok && status != k_status_handled) return fail(status, "");
    m_messages.done(directory);
    return status;
  };
  return do_or_fail(work, fail);
}

int ScanClientNameCase::scan(const fs::path& policy_dir, record::Directory& directory) {
  podb::ScanPODB visitor(policy_dir, m_messages, directory);
  if (!visitor.has_database()) require_same_root();
  return visitor.visit_podb_impl();
}

std::string ScanClientNameCase::findings() const {
  return m_messages.text();
}

void ScanClientNameCase::summarize_impl() {
  console::print(
      (m_messages.dirs_with_issues() != 0 ? found_case_sensitivity_issues_msg : clean_msg) + "\n");
  if (totals().failed_dirs() != 0) {
    dct::report_error("The scan is incomplete: " + std::to_string(totals().failed_dirs()) +
                      " policy directories could not be read.\n");
  }
  if (util::interrupted()) {
    dct::report_error("The scan is incomplete: it was interrupted.\n");
  }
}

}  // namespace catalog
