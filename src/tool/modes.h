#pragma once

#include "tool/storage_paths.h"

// The tasks, each from its own checks to its exit status.
// Errors: what the task throws.
int scan_mode(const StoragePaths& storage);
int consistency_mode(const StoragePaths& storage);

// Refuses a task that would change metadata, which this version does not do.
int refuse_to_change_metadata();
