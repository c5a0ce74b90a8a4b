#pragma once

#include "undo/restore/base_restore.h"

namespace catalog {

// Puts back the POs that a deletion saved.
//
// Threads, Errors: as the base.
class RestoreDeletion : public BaseRestore {
 public:
  RestoreDeletion(const boost::filesystem::path& log_dir, const boost::filesystem::path& tree_root,
                  unsigned num_threads, const RestoreRequest& request);

 private:
  void restore(RestoredDir& dir, std::int64_t id, record::RunReader& reader) override;
};

}  // namespace catalog
