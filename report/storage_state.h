#pragma once

#include <optional>
#include <vector>

#include "report/run_file.h"

namespace report {

// What a look at a storage shows without its metadata. Nothing is known of a storage of another host, or
// of what this user cannot see.
struct StorageState {
  std::string root;                   // empty if it is not known or not here
  std::optional<bool> catalog_aside;  // unknown during a run, which may be the repair that moved it
  std::optional<bool> stale_lock;
};

// The state of the configured storage if no words name records, else of the newest run's.
StorageState state_of_storage(const Texts& words, const std::vector<RunFile>& runs);

}  // namespace report
