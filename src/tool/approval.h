#pragma once

#include <memory>
#include <string>

#include "catalog/orphans/approved_orphans.h"
#include "tool/storage_paths.h"

// Reads what the dry run that --approved names has listed, and notes in the run log and in the record
// which one that is. Null after one line of error if its record does not fit this deletion.
// Errors: none but those of the system, such as a lack of memory.
std::unique_ptr<const catalog::ApprovedOrphans> read_approval(const StoragePaths& storage,
                                                              const std::string& disk_pool);
