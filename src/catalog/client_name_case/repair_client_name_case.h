#pragma once

#include <memory>
#include <string>

#include "catalog/messages/repair_messages.h"
#include "catalog/walk/base_traverse_catalog.h"
#include "lock/key_locks.h"

namespace catalog {

// Moves POs to the client directory with their spelling of the client's name.
//
// Threads: as the base. The directories of all spellings of one client with one policy are repaired
//   one after the other, under a lock of their own.
// Ownership: shares its logs.
// Errors: a directory that cannot be repaired is reported and ends the walk.
class RepairClientNameCase : public BaseTraverseCatalog {
 public:
  // `tree_root`: the metadata tree, moved to a path that no service uses.
  // Errors: filesystem_error or Cr_ErrnoException when a log cannot be made.
  RepairClientNameCase(const boost::filesystem::path& log_dir,
                       const boost::filesystem::path& tree_root, unsigned num_threads,
                       bool stop_on_error);

  // 0 also if collisions left POs in place.
  int visit_dir(const boost::filesystem::path& policy_dir) override;

  // Reports collisions to standard error.
  void summarize_impl() override;

  std::string findings() const override;

 private:
  int repair(const boost::filesystem::path& policy_dir, record::Directory& directory);

  boost::shared_ptr<dct::util::LogFile> m_collision_log;
  std::unique_ptr<RepairMessages> m_messages;
  util::KeyLocks m_spellings_locks;
};

}  // namespace catalog
