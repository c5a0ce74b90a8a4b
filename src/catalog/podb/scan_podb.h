#pragma once

#include "catalog/podb/base_visit_podb.h"

namespace catalog::podb {

// Looks in one policy directory for POs that begin with the client's name in another letter case.
// Only reads.
class ScanPODB : public BaseVisitPODB {
 public:
  ScanPODB(const boost::filesystem::path& policy_dir, dct::util::LogFile& log);

  // Reports a client that has such POs in one line on standard output and in the log. Returns 0,
  // k_status_handled when it has, or the status of a database that could not be read; nothing is
  // reported then.
  int visit_podb_impl() override;

  bool found_issue() const { return m_found_issue; }

 private:
  bool m_found_issue = false;
};

}  // namespace catalog::podb
