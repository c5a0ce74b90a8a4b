#pragma once

#include "catalog/podb/base_visit_podb.h"

namespace catalog {
class ScanMessages;
}

namespace catalog::podb {

// Looks in one policy directory for POs that begin with the client's name in another letter case.
// Only reads.
//
// Ownership: refers to messages and directory, which must outlive it.
class ScanPODB : public BaseVisitPODB {
 public:
  ScanPODB(const boost::filesystem::path& policy_dir, ScanMessages& messages,
           record::Directory& directory);

  // Returns 0; k_status_handled if there are such POs; or the status of an unreadable database.
  int visit_podb_impl() override;

 private:
  ScanMessages& m_messages;
};

}  // namespace catalog::podb
