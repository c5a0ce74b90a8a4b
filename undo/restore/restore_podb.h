#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include <boost/filesystem/path.hpp>

#include "podb/po_row.h"
#include "podb/podb_transaction.h"
#include "podb/sqlite_podb.h"
#include "undo/restore/restore_messages.h"

namespace record {
class RunReader;
}

namespace catalog::podb {

// Puts saved POs back into the database of one policy directory, which is created if needed.
//
// Threads: one thread; never two for one directory.
// Ownership: refers to its arguments.
// Errors: Cr_ErrnoException. Earlier commits stay, and the directory counts them.
class RestorePODB {
 public:
  // A dry run opens the database read-only, and counts.
  RestorePODB(const boost::filesystem::path& tree_root, RestoredDir& dir, RestoreMessages& messages,
              bool dry_run);

  // Restores the POs that `saved` has for the directory with the number `id`.
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
  const std::unique_ptr<SQLitePODB> m_podb;
  database::PODBTransaction m_transaction;
  Clock::time_point m_begin;
  std::uint64_t m_stored = 0;      // since the last commit
  database::PORow m_row;           // from the record
  database::PORow m_existing_row;  // of that name, in the database
};

}  // namespace catalog::podb
