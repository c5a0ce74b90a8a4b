#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "catalog/dirs_iterator.h"
#include "catalog/repair_client_name_case.h"
#include "dct/filesystem.h"
#include "dct/report_error.h"
#include "dct/run_in_shell.h"
#include "platform/reports.h"
#include "platform/run_log.h"
#include "platform/status.h"
#include "tool/exit_status.h"
#include "tool/modes.h"
#include "tool/option_table.h"
#include "tool/run_task.h"
#include "tool/services.h"
#include "tool/tvr_location.h"
#include "util/interrupt.h"

namespace fs = boost::filesystem;

namespace {

bool is_link(const fs::path& path) {
  boost::system::error_code error;
  return fs::is_symlink(fs::symlink_status(path, error));
}

bool refuse(const std::string& what, const fs::path& path, const std::string& why) {
  dct::report_error("ERROR: the " + what + " directory (" + path.string() + ") " + why + "\n");
  return false;
}

// Renaming a link, and removing the links below it, would lose what it leads to.
bool is_a_directory_of_its_own(const std::string& what, const fs::path& path) {
  if (is_link(path)) return refuse(what, path, "is a symbolic link");
  if (is_link(path / catalog::k_walked_dsid_name)) {
    return refuse("DSID", path / catalog::k_walked_dsid_name, "is a symbolic link");
  }
  if (dct::filesystem::exists(path) && !fs::is_directory(path)) {
    return refuse(what, path, "is not a directory");
  }
  return true;
}

bool directories_can_be_renamed(const StoragePaths& storage) {
  if (!is_a_directory_of_its_own("catalog", storage.catalog) ||
      !is_a_directory_of_its_own("working", storage.work_dir)) {
    return false;
  }
  if (!dct::filesystem::exists(storage.catalog) || !dct::filesystem::exists(storage.work_dir)) {
    return true;
  }
  return refuse("working", storage.work_dir,
                "exists beside the catalog directory (" + storage.catalog.string() + ")");
}

void move_catalog(const fs::path& from, const fs::path& to) {
  fs::rename(from, to);
  InfoA("moved the catalog from " + from.string() + " to " + to.string());
}

// A repair that has changed nothing need not leave the catalog aside.
bool interrupted_before_the_repair() {
  if (!util::interrupted()) return false;
  dct::report_error("The repair was interrupted before it began; nothing was changed.\n");
  return true;
}

// An earlier repair that failed may have left it there.
bool set_catalog_aside(const StoragePaths& storage) {
  if (dct::filesystem::exists(storage.catalog)) move_catalog(storage.catalog, storage.work_dir);
  if (dct::filesystem::exists(storage.work_dir)) return true;
  dct::report_error("ERROR: the working directory  (" + storage.work_dir.string() +
                    ") does not exist.\n");
  return false;
}

std::vector<fs::path> symbolic_links(const fs::path& dir) {
  std::vector<fs::path> links;
  fs::path at = dir;
  boost::system::error_code error;
  fs::recursive_directory_iterator entry(dir, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    at = entry->path();
    if (fs::is_symlink(entry->symlink_status())) links.push_back(at);
  }
  if (error) throw fs::filesystem_error("could not look for symbolic links", at, error);
  return links;
}

// What a link leads to cannot be found out any more once it is removed.
void note(const std::vector<fs::path>& links) {
  for (const fs::path& link : links) {
    InfoA("symbolic link " + link.string() + " to " + fs::read_symlink(link).string());
  }
  if (!links.empty() && platform::reports_were_lost()) {
    throw Cr_ErrnoException(EIO, "the symbolic links could not be noted and were not removed");
  }
}

// One that stays is walked as what it leads to; nothing is lost by that, but it is not what was asked
// for.
void remove_symbolic_links(const fs::path& dir) {
  platform::print("Cleaning up symbolic links\n");
  note(symbolic_links(dir));
  (void)dct::run_in_shell("find " + dct::in_double_quotes(dir.string()) +
                          " -type l -exec rm {} \\;");
  for (const fs::path& link : symbolic_links(dir)) {
    dct::report_error("ERROR: the symbolic link " + link.string() + " could not be removed\n");
  }
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
  if (!StopServices(opt_tvr_location) || interrupted_before_the_repair()) return k_exit_failure;
  if (!set_catalog_aside(storage)) return k_exit_failure;
  remove_symbolic_links(storage.work_dir);
  const auto task = make_task(storage, was_set_aside);
  // On failure the catalog stays aside and the services stay down, for the operator to look and to
  // run it again.
  if (!run_task(*task, Summary::after_success)) {
    platform::print("Case-sensitivity repair finished with some errors.\n");
    return k_exit_failure;
  }
  move_catalog(storage.work_dir, storage.catalog);
  StartServices(opt_tvr_location);
  platform::print("Case-sensitivity repair finished successfully.\n");
  return k_exit_success;
}
