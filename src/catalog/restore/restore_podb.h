#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include <boost/filesystem/path.hpp>

#include "catalog/messages/restore_messages.h"
#include "podb/po_row.h"
#include "podb/sqlite_podb.h"

namespace record {
class RunReader;
}

namespace catalog::podb {

// Puts saved POs back into the database of one policy directory, which is made if it is not there.
//
// Threads: one thread; not two for one directory.
// Ownership: refers to all that it is given.
// Errors: Cr_ErrnoException; what was committed before stays. The directory counts what was committed.
class RestorePODB {
 public:
  // A dry run opens the database for reading only, and counts.
  RestorePODB(const boost::filesystem::path& tree_root, RestoredDir& dir, RestoreMessages& findings,
              bool dry_run);

  // The POs that `saved` has of the directory with the number `id`.
  void restore(record::RunReader& saved, std::int64_t id);

 private:
  using Clock = std::chrono::steady_clock;

  void begin();
  void commit();
  void put_back();
  void compare();
  [[noreturn]] void fail(const char* what, cr_status_t status) const;

  RestoredDir& m_dir;
  RestoreMessages& m_messages;
  const bool m_dry_run;
  std::unique_ptr<SQLitePODB> m_podb;
  Clock::time_point m_begin;
  std::uint64_t m_stored = 0;          // since the last commit
  database::PORow m_row;               // in hand
  database::PORow m_row_of_that_name;  // in the database
};

}  // namespace catalog::podb
