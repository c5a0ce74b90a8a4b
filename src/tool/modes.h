#pragma once

#include "tool/storage_paths.h"

// The tasks, each from its own checks to its exit status.
// Errors: what the task throws.
int scan_mode(const StoragePaths& storage);
int repair_mode(const StoragePaths& storage);
int consistency_mode(const StoragePaths& storage);
