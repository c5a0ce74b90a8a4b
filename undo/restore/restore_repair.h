#pragma once

#include <map>
#include <vector>

#include "lock/key_locks.h"
#include "undo/restore/base_restore.h"
#include "undo/restore/move_back_podb.h"

namespace catalog {

// Moves the POs that a repair moved back to their source. Then removes the empty directories and
// databases that the repair created, and restores the symbolic links that it removed.
//
// Threads: as the base. The directories of all spellings of one client are restored one after the
//   other.
// Errors: as the base.
class RestoreRepair : public BaseRestore {
 public:
  RestoreRepair(const boost::filesystem::path& log_dir, const boost::filesystem::path& tree_root,
                unsigned num_threads, const RestoreRequest& request);

  // Removes what the repair created and restores the links, unless a signal stopped the traversal.
  void summarize_impl() override;

 private:
  // A range of rows in the record, with POs of one directory that moved to one target.
  struct Moves {
    std::int64_t first;
    std::int64_t last;
    std::int64_t target;  // the number of a client and policy
  };

  void restore(RestoredDir& dir, std::int64_t id, record::RunReader& reader) override;
  void restore(RestoredDir& dir, const Moves& moves, const podb::MoveBackPODB::Rows& replaced,
               record::RunReader& reader);
  void remove_made_paths(record::RunReader& reader);
  void remove_made(const boost::filesystem::path& made);
  void restore_links(record::RunReader& reader);
  void restore_link(const boost::filesystem::path& link, const std::string& target);

  std::map<std::int64_t, std::vector<Moves>> m_moves;  // of each directory
  util::KeyLocks m_spellings_locks;
};

}  // namespace catalog
