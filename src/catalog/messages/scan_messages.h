#pragma once

#include <atomic>
#include <cstdint>

#include "catalog/messages/messages.h"

namespace catalog {

// The messages of a case scan. Only directories with issues or errors are in the record.
class ScanMessages : public Messages {
 public:
  ScanMessages(dct::util::LogFile& log, RunTotals& totals) : Messages(log, totals) {}

  // The directory has POs under another spelling of its client's name.
  void case_issue(record::Directory& directory);

  // Ends a directory that could not be read.
  void unreadable(record::Directory& directory, const boost::filesystem::path& policy_dir,
                  int status, const std::string& reason);

  std::uint64_t dirs_with_issues() const { return m_dirs_with_issues; }
  std::string text() const;

 private:
  std::atomic<std::uint64_t> m_dirs_with_issues{0};
};

}  // namespace catalog
