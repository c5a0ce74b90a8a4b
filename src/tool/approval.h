#pragma once

#include <memory>
#include <string>

#include "catalog/orphans/approved_orphans.h"
#include "tool/storage_paths.h"

// Reads the orphans that the dry run of --approved listed, and notes its id in the run log and in the
// record. Null, after one line of error, if its record does not fit this deletion.
std::unique_ptr<const catalog::ApprovedOrphans> read_approval(const StoragePaths& storage,
                                                              const std::string& disk_pool);
