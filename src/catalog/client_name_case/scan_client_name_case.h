#pragma once

#include <string>

#include "catalog/messages/scan_messages.h"
#include "catalog/walk/base_traverse_catalog.h"

namespace catalog {

// Reports which clients have POs under another spelling of their name. Only reads.
//
// Errors: a directory that cannot be read is reported, and the scan goes on.
class ScanClientNameCase : public BaseTraverseCatalog {
 public:
  ScanClientNameCase(const boost::filesystem::path& log_dir,
                     const boost::filesystem::path& tree_root, unsigned num_threads,
                     bool stop_on_error);

  int visit_dir(const boost::filesystem::path& policy_dir) override;

  // Prints one of the two messages; standard error gets the number of unreadable directories, which
  // the message leaves out.
  void summarize_impl() override;

  std::string findings() const override;

 private:
  static const std::string clean_msg;
  static const std::string found_case_sensitivity_issues_msg;

  int scan(const boost::filesystem::path& policy_dir, record::Directory& directory);

  ScanMessages m_messages;
};

}  // namespace catalog
