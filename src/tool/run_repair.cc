#include <exception>
#include <memory>
#include <string>

#include "catalog/client_name_case/repair_client_name_case.h"
#include "console/standard_streams.h"
#include "dct/filesystem.h"
#include "dct/report_error.h"
#include "files/sync.h"
#include "record/run_record.h"
#include "signals/interrupt.h"
#include "status/status.h"
#include "tool/exit_status.h"
#include "tool/move_tree_aside.h"
#include "tool/option_table.h"
#include "tool/run_task.h"
#include "tool/services.h"
#include "tool/symbolic_links.h"
#include "tool/tasks.h"
#include "tool/thread_count.h"
#include "tool/tvr_location.h"

namespace fs = boost::filesystem;

namespace {

bool is_interrupted() {
  if (!util::interrupted()) return false;
  dct::report_error(
      "The repair was interrupted before it began; nothing in the catalog was changed.\n");
  return true;
}

// What the repair has changed outside the metadata so far.
struct Changes {
  bool services_stopped = false;
  bool tree_is_aside = false;
};

// A repair with the services stopped. Steps that can fail come before the tree is moved. If a later
// step fails before the repair changed anything, the tree is moved back.
class Repair {
 public:
  // `changes.tree_is_aside`: an earlier repair left the tree in the work directory. The repair keeps
  // `changes` up to date; it must outlive the repair.
  Repair(const StoragePaths& storage, Changes& changes)
      : m_storage(storage), m_is_resumed(changes.tree_is_aside), m_changes(changes) {}

  // Returns the exit status.
  int run();

 private:
  bool prepare();
  bool repair();
  void move_aside();
  void move_back();
  bool move_back_if_unchanged();

  const StoragePaths& m_storage;
  const bool m_is_resumed;
  Changes& m_changes;
  SymbolicLinks m_links;
  std::unique_ptr<catalog::RepairClientNameCase> m_task;
};

int Repair::run() {
  if (!prepare()) return k_exit_failure;
  if (!m_is_resumed) move_aside();
  bool repaired = false;
  try {
    repaired = repair();
  } catch (...) {
    (void)move_back_if_unchanged();
    throw;
  }
  if (!repaired && move_back_if_unchanged() && is_interrupted()) return k_exit_failure;
  if (!repaired) {
    console::print("Case-sensitivity repair finished with some errors.\n");
    return k_exit_failure;
  }
  move_back();
  StartServices(opt_tvr_location);
  console::print("Case-sensitivity repair finished successfully.\n");
  return k_exit_success;
}

bool Repair::prepare() {
  const fs::path& tree = m_is_resumed ? m_storage.work_dir : m_storage.tree;
  if (is_interrupted()) return false;
  if (!dct::filesystem::exists(tree)) {
    dct::report_error("ERROR: the working directory  (" + m_storage.work_dir.string() +
                      ") does not exist.\n");
    return false;
  }
  m_links = note_symbolic_links(tree);
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

void Repair::move_aside() {
  move_tree_aside(m_storage);
  m_changes.tree_is_aside = true;
  record_tree_aside(m_storage, true);
}

void Repair::move_back() {
  move_tree_back(m_storage);
  m_changes.tree_is_aside = false;
  // Services that start after a power cut must not find the tree aside again.
  files::sync_directory(m_storage.root.string());
  record_tree_aside(m_storage, false);
}

// Returns whether it moved the tree back.
bool Repair::move_back_if_unchanged() {
  if (!dct::filesystem::exists(m_storage.work_dir)) return false;  // the storage is gone
  const bool is_changed =
      m_task->totals().dirs() != 0 || any_link_is_gone(m_storage.work_dir, m_links);
  if (m_is_resumed || is_changed) return false;
  try {
    move_back();
  } catch (const std::exception& error) {
    dct::report_error(std::string("ERROR: ") + error.what() + "\n");
  }
  return !m_changes.tree_is_aside;
}

// Relies on `changes` alone for the tree: by now the storage may be gone, or have another tree.
void report_unfinished(const StoragePaths& storage, const Changes& changes) {
  if (changes.tree_is_aside) {
    dct::report_error(tree_aside_text(storage, changes.services_stopped));
  } else if (opt_force && changes.services_stopped) {
    dct::report_error("The Tavrin Deduplication services are stopped.\n");
    // Without a metadata tree they should not be started.
    if (dct::filesystem::exists(storage.tree)) print_start_commands(opt_tvr_location);
  }
}

bool services_are_stopped() {
  try {
    return StopServices(opt_tvr_location);
  } catch (const Cr_ErrnoException&) {
    // Ctrl-C ends the query too, and the repair checks for it before it changes anything.
    if (util::interrupted()) return true;
    if (opt_force) {
      dct::report_error("The Tavrin Deduplication services may be stopped.\n");
      print_start_commands(opt_tvr_location);
    }
    throw;
  }
}

int check_and_repair(const StoragePaths& storage, Changes& changes) {
  changes.tree_is_aside = tree_is_aside(storage);
  if (changes.tree_is_aside) record_tree_aside(storage, true);
  if (!location_can_be_run() || !tree_can_be_moved(storage)) return k_exit_failure;
  if (!services_are_stopped()) return k_exit_failure;
  changes.services_stopped = true;
  record::run_record().note([](record::Run& run) { run.undo = record::Undo::saved; });
  (void)record::run_record().sync_commits(record::RunRecord::WhenLost::run_goes_on);
  return Repair(storage, changes).run();
}

}  // namespace

int run_repair(const StoragePaths& storage) {
  Changes changes;
  int status = k_exit_failure;
  try {
    status = check_and_repair(storage, changes);
  } catch (...) {
    report_unfinished(storage, changes);
    throw;
  }
  if (status != k_exit_success) report_unfinished(storage, changes);
  return status;
}
