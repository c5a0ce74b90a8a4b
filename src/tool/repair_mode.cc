#include <iostream>
#include <memory>
#include <string>

#include <boost/filesystem/operations.hpp>

#include "catalog/repair_client_name_case.h"
#include "dct/filesystem.h"
#include "dct/report_error.h"
#include "dct/run_in_shell.h"
#include "platform/run_log.h"
#include "tool/exit_status.h"
#include "tool/modes.h"
#include "tool/option_table.h"
#include "tool/run_task.h"
#include "tool/services.h"
#include "tool/tvr_location.h"

namespace fs = boost::filesystem;

namespace {

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

void move_catalog(const fs::path& from, const fs::path& to) {
  fs::rename(from, to);
  InfoA("moved the catalog from " + from.string() + " to " + to.string());
}

// An earlier repair that failed may have left it there.
bool set_catalog_aside(const StoragePaths& storage) {
  if (dct::filesystem::exists(storage.catalog)) move_catalog(storage.catalog, storage.work_dir);
  if (dct::filesystem::exists(storage.work_dir)) return true;
  dct::report_error("ERROR: the working directory  (" + storage.work_dir.string() +
                    ") does not exist.\n");
  return false;
}

// What a link leads to cannot be found out any more once it is removed.
void note_symbolic_links(const fs::path& dir) {
  boost::system::error_code error;
  fs::recursive_directory_iterator entry(dir, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    boost::system::error_code ignored;
    if (!fs::is_symlink(entry->symlink_status(ignored))) continue;
    InfoA("symbolic link " + entry->path().string() + " to " +
          fs::read_symlink(entry->path(), ignored).string());
  }
  if (error) WarningA("could not look for symbolic links: " + error.message());
}

void remove_symbolic_links(const fs::path& dir) {
  std::cout << "Cleaning up symbolic links\n";
  note_symbolic_links(dir);
  dct::run_in_shell("find " + dct::in_double_quotes(dir.string()) + " -type l -exec rm {} \\;");
}

// A log that cannot be made is no reason to leave aside a catalog that nothing was done to.
std::unique_ptr<catalog::BaseTraverseCatalog> make_task(const StoragePaths& storage,
                                                        bool was_set_aside) {
  try {
    return std::make_unique<catalog::RepairClientNameCase>(storage.log_dir, storage.work_dir,
                                                           opt_thread_count(), true);
  } catch (...) {
    if (!was_set_aside) move_catalog(storage.work_dir, storage.catalog);
    throw;
  }
}

}  // namespace

int repair_mode(const StoragePaths& storage) {
  if (!location_can_be_run() || !directories_can_be_renamed(storage)) return k_exit_failure;
  const bool was_set_aside = dct::filesystem::exists(storage.work_dir);
  if (!StopServices(opt_tvr_location) || !set_catalog_aside(storage)) return k_exit_failure;
  remove_symbolic_links(storage.work_dir);
  const auto task = make_task(storage, was_set_aside);
  // On failure the catalog stays aside and the services stay down, for the operator to look and to
  // run it again.
  if (!run_task(*task, Summary::after_success)) {
    std::cout << "Case-sensitivity repair finished with some errors.\n";
    return k_exit_failure;
  }
  move_catalog(storage.work_dir, storage.catalog);
  StartServices(opt_tvr_location);
  std::cout << "Case-sensitivity repair finished successfully.\n";
  return k_exit_success;
}
