#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "podb/po_row.h"
#include "podb/podb_transaction.h"
#include "podb/sqlite_podb.h"
#include "undo/restore/restore_messages.h"

namespace catalog::podb {

// Moves POs that a repair moved from one policy directory to another back to the first, whose
// database is created if needed.
//
// Threads: as RepairPODB.
// Ownership: refers to its arguments.
// Errors: Cr_ErrnoException. Earlier commits stay, and the directory counts them. At every instant
//   each PO is in at least one database.
class MoveBackPODB {
 public:
  using Names = std::vector<std::string>;
  using Rows = std::map<std::string, database::PORow>;  // by basename

  // `source` is where the repair took the POs from, `target` where it put them; `replaced` has the
  // rows that they replaced there. A dry run opens both read-only, and counts.
  MoveBackPODB(const boost::filesystem::path& tree_root, RestoredDir& source,
               const boost::filesystem::path& target, const Rows& replaced,
               RestoreMessages& messages, bool dry_run);

  // Moves the POs of these names, in one transaction for each database.
  void move_back(const Names& names);

 private:
  // A database and its transaction.
  struct Side {
    template <class... Args>
    explicit Side(const Args&... args) : podb(args...), transaction(podb) {}

    SQLitePODB podb;
    database::PODBTransaction transaction;
  };

  void begin();
  void copy(const std::string& name);
  void find_in_source(const std::string& name);
  // Whether the source now has the PO in m_row, so that the target no longer needs it.
  bool is_in_source(const std::string& name);
  void end(Side& side, bool has_changes) const;
  void remove_from_target();

  RestoredDir& m_source_dir;
  const boost::filesystem::path m_target_dir;
  const Rows& m_replaced;
  RestoreMessages& m_messages;
  const bool m_dry_run;
  std::unique_ptr<Side> m_target;  // null in a dry run
  std::unique_ptr<Side> m_reader;  // of the target
  std::unique_ptr<Side> m_source;

  // Of the current names.
  std::uint64_t m_stored = 0;
  Names m_copied;  // in the source now, and to be removed or replaced in the target
  database::PORow m_row;
  database::PORow m_row_in_source;
};

}  // namespace catalog::podb
