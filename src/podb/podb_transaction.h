#pragma once

#include "podb/sqlite_podb.h"
#include "status/status.h"

namespace database {

// The owner of one transaction: its destructor rolls back what begin() opened and commit() did not end.
//
// Threads: as the database.
// Ownership: refers to the database, which must outlive it.
class PODBTransaction {
 public:
  explicit PODBTransaction(SQLitePODB& podb) : m_podb(podb) {}
  ~PODBTransaction() { (void)roll_back(); }  // what stays open is rolled back with the database
  PODBTransaction(const PODBTransaction&) = delete;
  PODBTransaction& operator=(const PODBTransaction&) = delete;

  cr_status_t begin() {
    const cr_status_t status = m_podb.do_begin_transaction();
    m_is_open = status == k_status_ok;
    return status;
  }

  // After a failure the transaction may still be open.
  cr_status_t commit() {
    const cr_status_t status = m_podb.do_commit_transaction();
    m_is_open = status != k_status_ok;
    return status;
  }

  // Does nothing if none is open.
  cr_status_t roll_back() {
    if (!m_is_open) return k_status_ok;
    m_is_open = false;
    return m_podb.do_rollback_transaction();
  }

 private:
  SQLitePODB& m_podb;
  bool m_is_open = false;
};

}  // namespace database
