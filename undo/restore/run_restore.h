#pragma once

#include "record/findings.h"
#include "tool/storage_paths.h"
#include "undo/restore/base_restore.h"

// Undoes `run`, a deletion or repair of this storage that saved something. Returns the exit status.
// Errors: those of the task.
int run_restore(const StoragePaths& storage, const record::Run& run,
                const catalog::RestoreRequest& request);
