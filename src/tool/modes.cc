#include "tool/modes.h"

#include <iostream>
#include <string>

#include <boost/scoped_ptr.hpp>

#include "catalog/podb/print_orphan_pos.h"
#include "catalog/scan_client_name_case.h"
#include "catalog/visit_pos_not_in_tvr_catalog.h"
#include "dct/filesystem.h"
#include "dct/init_networking.h"
#include "dct/report_error.h"
#include "dct/shell_word.h"
#include "tool/exit_status.h"
#include "tool/option_table.h"
#include "tool/pending_import_guard.h"
#include "tool/run_task.h"
#include "tvr_utils/disk_pool_label.h"

namespace fs = boost::filesystem;

namespace {

using DryRun = catalog::VisitPOsNotInTVRCatalog<catalog::podb::PrintOrphanPOs>;

unsigned thread_count() {
  return static_cast<unsigned>(opt_num_threads);
}

bool directories_are_there(const fs::path& admincmd_dir, const fs::path& catalog) {
  if (!dct::filesystem::exists(admincmd_dir)) {
    dct::report_error("ERROR: The Tavrin admincmd directory ( " + admincmd_dir.string() +
                      " ) does not exist\n.");
    return false;
  }
  if (!dct::filesystem::exists(catalog)) {
    dct::report_error("ERROR: The Tavrin Deduplication Catalog directory (" + catalog.string() +
                      ") does not exist.\n");
    return false;
  }
  return true;
}

// Commands are built from the location as it stands.
bool location_can_be_run(const fs::path& location) {
  if (dct::is_plain_shell_word(location.native())) return true;
  dct::report_error("ERROR: The Tavrin install location ( " + location.string() +
                    " ) holds a character that cannot be passed to the shell\n");
  return false;
}

std::string disk_pool_name(const fs::path& admincmd_dir) {
  std::string name = opt_tvr_disk_pool != nullptr ? std::string(opt_tvr_disk_pool)
                                                  : tvr_utils::GetDiskPoolLabel(admincmd_dir);
  if (name.empty()) {
    dct::report_error(
        "The Tavrin disk pool name cannot be determined from the hostname.\n"
        "Use the --tvr_disk_pool option to specify the disk pool name.\n");
  }
  return name;
}

}  // namespace

int scan_mode(const StoragePaths& storage) {
  const boost::scoped_ptr<catalog::BaseTraverseCatalog> task(
      new catalog::ScanClientNameCase(storage.log_dir, storage.catalog, thread_count(), false));
  return run_task(*task) ? k_exit_success : k_exit_scan_failed;
}

int consistency_mode(const StoragePaths& storage) {
  dct::InitNetworking::getInstance();
  const fs::path admincmd_dir = fs::path(opt_tvr_location) / "tavrin" / "bin" / "admincmd";
  if (!directories_are_there(admincmd_dir, storage.catalog)) return k_exit_failure;
  if (!location_can_be_run(opt_tvr_location)) return k_exit_failure;
  if (!opt_dry_run) return refuse_to_change_metadata();
  if (!opt_pendimport_consistency && !no_imports_are_pending(storage.root, admincmd_dir)) {
    return k_exit_failure;
  }
  const std::string disk_pool = disk_pool_name(admincmd_dir);
  if (disk_pool.empty()) return k_exit_failure;
  const boost::scoped_ptr<catalog::BaseTraverseCatalog> task(
      new DryRun(storage.log_dir, storage.catalog, thread_count(), true, admincmd_dir, disk_pool,
                 opt_catalog_backup_time));
  if (!run_task(*task)) return k_exit_failure;
  std::cout << "mdfixup finished successfully.\n";
  return k_exit_success;
}

int refuse_to_change_metadata() {
  dct::report_error(
      "ERROR: this version of mdfixup changes no metadata: repair and deletion are not available. "
      "Use --scan_client_name_case, or --FORCE_DEDUPE_METADATA_CONSISTENCY with --dry_run.\n");
  return k_exit_failure;
}
