#pragma once

#include "tool/storage_paths.h"

// The tasks. Each makes its own checks and returns the exit status.
// Errors: those of the task.
int run_scan(const StoragePaths& storage);
int run_repair(const StoragePaths& storage);
int run_consistency(const StoragePaths& storage);
