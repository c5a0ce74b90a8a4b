#include "tool/modes.h"

#include <iostream>
#include <string>

#include <boost/filesystem/operations.hpp>
#include <boost/scoped_ptr.hpp>

#include "catalog/podb/delete_orphan_pos.h"
#include "catalog/podb/print_orphan_pos.h"
#include "catalog/repair_client_name_case.h"
#include "catalog/scan_client_name_case.h"
#include "catalog/visit_pos_not_in_tvr_catalog.h"
#include "dct/filesystem.h"
#include "dct/init_networking.h"
#include "dct/report_error.h"
#include "dct/run_in_shell.h"
#include "dct/shell_word.h"
#include "tool/exit_status.h"
#include "tool/option_table.h"
#include "tool/pending_import_guard.h"
#include "tool/run_task.h"
#include "tool/services.h"
#include "tvr_utils/disk_pool_label.h"

namespace fs = boost::filesystem;

namespace {

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

template <class V>
bool compare(const StoragePaths& storage, const fs::path& admincmd_dir,
             const std::string& disk_pool) {
  const boost::scoped_ptr<catalog::BaseTraverseCatalog> task(
      new catalog::VisitPOsNotInTVRCatalog<V>(storage.log_dir, storage.catalog, thread_count(),
                                              true, admincmd_dir, disk_pool,
                                              opt_catalog_backup_time));
  return run_task(*task);
}

// With the services stopped; they are asked for again whatever happens.
bool delete_orphans(const StoragePaths& storage, const fs::path& admincmd_dir,
                    const std::string& disk_pool) {
  bool done = false;
  try {
    done = compare<catalog::podb::DeleteOrphanPOs>(storage, admincmd_dir, disk_pool);
  } catch (...) {
    StartServices(opt_tvr_location);
    throw;
  }
  StartServices(opt_tvr_location);
  return done;
}

bool is_link(const fs::path& path) {
  boost::system::error_code error;
  return fs::is_symlink(fs::symlink_status(path, error));
}

// Renaming a link, and removing the links below it, would lose what it leads to; one of two
// directories would be in the way of the other.
bool directories_can_be_renamed(const StoragePaths& storage) {
  const std::string catalog = "the catalog directory (" + storage.catalog.string() + ")";
  const std::string work_dir = "the working directory (" + storage.work_dir.string() + ")";
  for (const auto& [path, name] :
       {std::pair(storage.catalog, catalog), {storage.work_dir, work_dir}}) {
    if (!is_link(path)) continue;
    dct::report_error("ERROR: " + name + " is a symbolic link\n");
    return false;
  }
  if (dct::filesystem::exists(storage.catalog) && dct::filesystem::exists(storage.work_dir)) {
    dct::report_error("ERROR: " + work_dir + " exists beside " + catalog + "\n");
    return false;
  }
  return true;
}

// An earlier repair that failed may have left it there.
bool set_catalog_aside(const StoragePaths& storage) {
  if (dct::filesystem::exists(storage.catalog)) fs::rename(storage.catalog, storage.work_dir);
  if (dct::filesystem::exists(storage.work_dir)) return true;
  dct::report_error("ERROR: the working directory  (" + storage.work_dir.string() +
                    ") does not exist.\n");
  return false;
}

void remove_symbolic_links(const fs::path& dir) {
  std::cout << "Cleaning up symbolic links\n";
  dct::run_in_shell("find " + dct::in_double_quotes(dir.string()) + " -type l -exec rm {} \\;");
}

}  // namespace

int scan_mode(const StoragePaths& storage) {
  const boost::scoped_ptr<catalog::BaseTraverseCatalog> task(
      new catalog::ScanClientNameCase(storage.log_dir, storage.catalog, thread_count(), false));
  return run_task(*task) ? k_exit_success : k_exit_scan_failed;
}

int repair_mode(const StoragePaths& storage) {
  if (!location_can_be_run(opt_tvr_location) || !directories_can_be_renamed(storage)) {
    return k_exit_failure;
  }
  if (!StopServices(opt_tvr_location) || !set_catalog_aside(storage)) return k_exit_failure;
  remove_symbolic_links(storage.work_dir);
  const boost::scoped_ptr<catalog::BaseTraverseCatalog> task(
      new catalog::RepairClientNameCase(storage.log_dir, storage.work_dir, thread_count(), true));
  // On failure the catalog stays aside and the services stay down, for the operator to look and to
  // run it again.
  if (!run_task(*task, Summary::after_success)) {
    std::cout << "Case-sensitivity repair finished with some errors.\n";
    return k_exit_failure;
  }
  fs::rename(storage.work_dir, storage.catalog);
  StartServices(opt_tvr_location);
  std::cout << "Case-sensitivity repair finished successfully.\n";
  return k_exit_success;
}

int consistency_mode(const StoragePaths& storage) {
  dct::InitNetworking::getInstance();
  const fs::path admincmd_dir = fs::path(opt_tvr_location) / "tavrin" / "bin" / "admincmd";
  if (!directories_are_there(admincmd_dir, storage.catalog)) return k_exit_failure;
  if (!location_can_be_run(opt_tvr_location)) return k_exit_failure;
  if (!opt_pendimport_consistency && !no_imports_are_pending(storage.root, admincmd_dir)) {
    return k_exit_failure;
  }
  const std::string disk_pool = disk_pool_name(admincmd_dir);
  if (disk_pool.empty()) return k_exit_failure;
  bool done = false;
  if (opt_dry_run) {
    done = compare<catalog::podb::PrintOrphanPOs>(storage, admincmd_dir, disk_pool);
  } else {
    if (!StopServices(opt_tvr_location)) return k_exit_failure;
    done = delete_orphans(storage, admincmd_dir, disk_pool);
  }
  if (!done) return k_exit_failure;
  std::cout << "mdfixup finished successfully.\n";
  return k_exit_success;
}
