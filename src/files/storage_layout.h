#pragma once

// The names of the files and directories of a storage.
namespace layout {

// Below the storage's root.
constexpr const char* k_metadata_tree = "catalog";
constexpr const char* k_work_dir = "zelp-database-caseconv";  // the metadata tree during a repair
constexpr const char* k_lock_file = "mdfixup.lock";
constexpr const char* k_spa_database = "spa.db";

// In a policy directory.
constexpr const char* k_po_database = "po.db";

// Below the log directory.
constexpr const char* k_run_log = "mdfixup/mdfixup.log";
constexpr const char* k_records = "mdfixup/runs";
constexpr const char* k_consistency_logs = "metadata_consistency";
constexpr const char* k_restore_logs = "metadata_restore";

}  // namespace layout
