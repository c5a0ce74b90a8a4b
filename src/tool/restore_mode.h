#pragma once

#include <string>

#include "catalog/restore/base_restore.h"
#include "record/findings.h"
#include "tool/storage_paths.h"

// Undoes the run `run`, a deletion or repair of this storage with something saved, from its own checks to
// the exit status.
// Errors: what the task throws.
int restore_mode(const StoragePaths& storage, const record::Run& run,
                 const catalog::RestoreRequest& request);
