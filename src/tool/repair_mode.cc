#include <memory>
#include <string>

#include <boost/filesystem/operations.hpp>

#include "catalog/client_name_case/repair_client_name_case.h"
#include "catalog/walk/dirs_iterator.h"
#include "console/run_log.h"
#include "console/standard_streams.h"
#include "dct/filesystem.h"
#include "dct/report_error.h"
#include "files/storage_layout.h"
#include "record/run_record.h"
#include "signals/interrupt.h"
#include "status/status.h"
#include "tool/catalog_aside.h"
#include "tool/exit_status.h"
#include "tool/modes.h"
#include "tool/option_table.h"
#include "tool/run_task.h"
#include "tool/services.h"
#include "tool/symbolic_links.h"
#include "tool/thread_count.h"
#include "tool/tvr_location.h"

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

// The links below it would be removed, and with this one all that is repaired.
bool leads_elsewhere(const fs::directory_entry& entry) {
  return catalog::is_walked_dsid(entry.path().filename().string()) && is_link(entry.path());
}

// Renaming a link, and removing the links below it, would lose what it leads to.
bool is_a_directory_of_its_own(const std::string& what, const fs::path& path) {
  if (is_link(path)) return refuse(what, path, "is a symbolic link");
  if (!dct::filesystem::exists(path)) return true;
  if (!fs::is_directory(path)) return refuse(what, path, "is not a directory");
  for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
    if (leads_elsewhere(entry)) return refuse("DSID", entry.path(), "is a symbolic link");
  }
  return true;
}

bool directories_can_be_renamed(const StoragePaths& storage) {
  if (!is_a_directory_of_its_own(layout::k_metadata_tree, storage.catalog) ||
      !is_a_directory_of_its_own("working", storage.work_dir)) {
    return false;
  }
  if (!dct::filesystem::exists(storage.catalog) || !dct::filesystem::exists(storage.work_dir)) {
    return true;
  }
  return refuse("working", storage.work_dir,
                "exists beside the catalog directory (" + storage.catalog.string() + ")");
}

bool is_interrupted() {
  if (!util::interrupted()) return false;
  dct::report_error(
      "The repair was interrupted before it began; nothing in the catalog was changed.\n");
  return true;
}

void note_catalog_aside(const std::string& where) {
  record::run_record().note([&](record::Run& run) { run.catalog_aside = where; });
  (void)record::run_record().commit();  // a failure was reported
}

// What a repair leaves if it ends now.
struct Left {
  bool services_stopped = false;
  bool catalog_aside = false;
};

// A repair with the services stopped, in the order of its steps: whatever can fail comes before the
// catalog is moved, and what fails after that while nothing is done yet moves it back.
class Repair {
 public:
  // `left` says whether an earlier repair has left the catalog under its work name, and what this one
  // leaves; it must outlive the repair.
  Repair(const StoragePaths& storage, Left& left)
      : m_storage(storage), m_is_resumed(left.catalog_aside), m_left(left) {}

  // Returns the exit status.
  int run();

 private:
  bool prepare();
  bool repair();
  void move_catalog(const fs::path& from, const fs::path& to);
  bool put_back_if_untouched();

  const StoragePaths& m_storage;
  const bool m_is_resumed;
  Left& m_left;
  SymbolicLinks m_links;
  std::unique_ptr<catalog::RepairClientNameCase> m_task;
};

int Repair::run() {
  if (!prepare()) return k_exit_failure;
  if (!m_is_resumed) move_catalog(m_storage.catalog, m_storage.work_dir);
  bool repaired = false;
  try {
    repaired = repair();
  } catch (...) {
    (void)put_back_if_untouched();
    throw;
  }
  if (!repaired && put_back_if_untouched() && is_interrupted()) return k_exit_failure;
  if (!repaired) {
    console::print("Case-sensitivity repair finished with some errors.\n");
    return k_exit_failure;
  }
  move_catalog(m_storage.work_dir, m_storage.catalog);
  StartServices(opt_tvr_location);
  console::print("Case-sensitivity repair finished successfully.\n");
  return k_exit_success;
}

bool Repair::prepare() {
  const fs::path& now = m_is_resumed ? m_storage.work_dir : m_storage.catalog;
  if (is_interrupted()) return false;
  if (!dct::filesystem::exists(now)) {
    dct::report_error("ERROR: the working directory  (" + m_storage.work_dir.string() +
                      ") does not exist.\n");
    return false;
  }
  m_links = note_symbolic_links(now);
  if (is_interrupted()) return false;
  console::print("Cleaning up symbolic links\n");
  m_task = std::make_unique<catalog::RepairClientNameCase>(m_storage.log_dir, m_storage.work_dir,
                                                           thread_count(), true);
  return true;
}

bool Repair::repair() {
  if (util::interrupted()) return false;
  remove_symbolic_links(m_storage.work_dir, m_links);
  return run_task(*m_task, Summary::after_success);
}

void Repair::move_catalog(const fs::path& from, const fs::path& to) {
  fs::rename(from, to);
  InfoA("moved the catalog from " + from.string() + " to " + to.string());
  m_left.catalog_aside = to == m_storage.work_dir;
  note_catalog_aside(m_left.catalog_aside ? to.string() : "");
}

// Whether the catalog has its name again, as nothing was done to it.
bool Repair::put_back_if_untouched() {
  if (!dct::filesystem::exists(m_storage.work_dir)) return false;  // the storage is gone
  const bool is_touched =
      m_task->totals().dirs() != 0 || any_link_is_gone(m_storage.work_dir, m_links);
  if (m_is_resumed || is_touched) return false;
  try {
    move_catalog(m_storage.work_dir, m_storage.catalog);
  } catch (const fs::filesystem_error& error) {
    dct::report_error(std::string("ERROR: ") + error.what() + "\n");
    return false;
  }
  return true;
}

// What an operator would take long to find out. It is known without a look at the storage, which may be
// gone or have another catalog by now.
void report_what_is_left(const StoragePaths& storage, const Left& left) {
  if (left.catalog_aside) {
    dct::report_error(catalog_aside_text(storage, left.services_stopped));
  } else if (opt_force && left.services_stopped) {
    dct::report_error("The Tavrin Deduplication services are stopped.\n");
    // Without a catalog they are better left so.
    if (dct::filesystem::exists(storage.catalog)) print_start_commands(opt_tvr_location);
  }
}

bool services_are_stopped() {
  try {
    return StopServices(opt_tvr_location);
  } catch (const Cr_ErrnoException&) {
    // Ctrl-C ends the query as well, and the repair sees it before it does anything.
    if (util::interrupted()) return true;
    if (opt_force) {
      dct::report_error("The Tavrin Deduplication services may be stopped.\n");
      print_start_commands(opt_tvr_location);
    }
    throw;
  }
}

int run(const StoragePaths& storage, Left& left) {
  left.catalog_aside = catalog_is_aside(storage);
  if (left.catalog_aside) note_catalog_aside(storage.work_dir.string());
  if (!location_can_be_run() || !directories_can_be_renamed(storage)) return k_exit_failure;
  if (!services_are_stopped()) return k_exit_failure;
  left.services_stopped = true;
  record::run_record().note([](record::Run& run) { run.undo = record::Undo::saved; });
  (void)record::run_record().sync_commits(record::RunRecord::WhenLost::run_goes_on);
  return Repair(storage, left).run();
}

}  // namespace

int repair_mode(const StoragePaths& storage) {
  Left left;
  int status = k_exit_failure;
  try {
    status = run(storage, left);
  } catch (...) {
    report_what_is_left(storage, left);
    throw;
  }
  if (status != k_exit_success) report_what_is_left(storage, left);
  return status;
}
