#pragma once

#include "catalog/podb/base_visit_podb.h"

namespace catalog {
class ScanMessages;
}

namespace catalog::podb {

// Looks in one policy directory for POs that begin with the client's name in another letter case.
// Only reads.
//
// Ownership: refers to findings and directory, which must outlive it.
class ScanPODB : public BaseVisitPODB {
 public:
  ScanPODB(const boost::filesystem::path& policy_dir, ScanMessages& findings,
           record::Directory& directory);

  // Passes on that there are such POs. Returns 0, k_status_handled when there are, or the status of a
  // database that could not be read.
  int visit_podb_impl() override;

  bool found_issue() const { return m_found_issue; }

 private:
  ScanMessages& m_messages;
  bool m_found_issue = false;
};

}  // namespace catalog::podb
