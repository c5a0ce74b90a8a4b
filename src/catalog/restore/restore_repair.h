#pragma once

#include <map>
#include <vector>

#include "catalog/restore/base_restore.h"
#include "catalog/restore/move_back_podb.h"
#include "lock/key_locks.h"

namespace catalog {

// Moves the POs that a repair moved back to where they came from, takes away what the repair made for
// them if nothing is in it any more, and makes its symbolic links again.
//
// Threads: as the base. Directories of the spellings of one client are restored one after the other.
// Errors: as the base.
class RestoreRepair : public BaseRestore {
 public:
  RestoreRepair(const boost::filesystem::path& log_dir, const boost::filesystem::path& catalog_dir,
                unsigned num_threads, const RestoreRequest& request);

  // What comes after the directories, unless a signal has ended them.
  void summarize_impl() override;

 private:
  // A part of what a repair moved: the rows of the record from one to the other.
  struct Moves {
    std::int64_t first;
    std::int64_t last;
    std::int64_t target;  // a client and policy
  };

  void restore(RestoredDir& dir, std::int64_t id, record::RunReader& reader) override;
  void restore(RestoredDir& dir, const Moves& moves, const podb::MoveBackPODB::Rows& replaced,
               record::RunReader& reader);
  void take_away_what_was_made(record::RunReader& reader);
  void take_away(const boost::filesystem::path& made);
  void restore_links(record::RunReader& reader);
  void restore_link(const boost::filesystem::path& link, const std::string& target);

  std::map<std::int64_t, std::vector<Moves>> m_moves;  // of each directory
  util::KeyLocks m_spellings_locks;
};

}  // namespace catalog
