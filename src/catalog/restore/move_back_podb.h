#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "catalog/messages/restore_messages.h"
#include "podb/po_row.h"
#include "podb/sqlite_podb.h"

namespace catalog::podb {

// Moves POs that a repair moved from one policy directory to another back to the first, whose database
// is made if it is not there.
//
// Threads: as RepairPODB.
// Ownership: refers to all that it is given.
// Errors: Cr_ErrnoException; what was committed before stays. At every instant each PO is in at least
//   one database. The directory counts what was committed.
class MoveBackPODB {
 public:
  using Names = std::vector<std::string>;
  using Rows = std::map<std::string, database::PORow>;  // by basename

  // `source` is where the POs came from and `target` where they went; `replaced` is what they replaced
  // there. A dry run opens both for reading only, and counts.
  MoveBackPODB(const boost::filesystem::path& tree_root, RestoredDir& source,
               const boost::filesystem::path& target, const Rows& replaced,
               RestoreMessages& findings, bool dry_run);

  // Moves those of these names, in one transaction for each database.
  void move_back(const Names& names);

 private:
  void begin();
  void copy(const Names& names);
  void copy(const std::string& name);
  void find_in_source(const std::string& name);
  // Whether the PO in hand of the target is in the source now, so that it can go from the target.
  bool is_in_source(const std::string& name);
  void end(SQLitePODB& podb, bool has_changes) const;
  void remove_from_target();

  RestoredDir& m_source_dir;
  const boost::filesystem::path m_target_dir;
  const Rows& m_replaced;
  RestoreMessages& m_messages;
  const bool m_dry_run;
  std::unique_ptr<SQLitePODB> m_target;
  std::unique_ptr<SQLitePODB> m_reader;  // of the target
  std::unique_ptr<SQLitePODB> m_source;

  // Of the names in hand.
  std::uint64_t m_stored = 0;
  Names m_copied;  // that are in the source, and not as they were in the target
  database::PORow m_row;
  database::PORow m_row_in_source;
};

}  // namespace catalog::podb
