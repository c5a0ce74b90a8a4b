#pragma once

#include "tool/storage_paths.h"

namespace catalog {
struct RestoreRequest;
}
namespace record {
struct Run;
}

// The tasks. Each makes its own checks and returns the exit status.
// Errors: those of the task.
int run_scan(const StoragePaths& storage);
int run_repair(const StoragePaths& storage);
int run_consistency(const StoragePaths& storage);

// Undoes `run`, a deletion or repair of this storage that saved something.
int run_restore(const StoragePaths& storage, const record::Run& run,
                const catalog::RestoreRequest& request);
