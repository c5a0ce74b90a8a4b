#include "undo/restore/run_restore.h"

#include <memory>

#include "console/standard_streams.h"
#include "dct/report_error.h"
#include "tool/exit_status.h"
#include "tool/move_tree_aside.h"
#include "tool/option_table.h"
#include "tool/run_task.h"
#include "tool/services.h"
#include "tool/thread_count.h"
#include "tool/tvr_location.h"
#include "undo/restore/restore_deletion.h"
#include "undo/restore/restore_repair.h"

namespace {

// Those of a repair, and the record with its write-ahead log.
constexpr std::uint64_t k_descriptors_of_restoring_worker = k_descriptors_of_worker + 3;

std::unique_ptr<catalog::BaseRestore> task_for(const StoragePaths& storage, const record::Run& run,
                                               const catalog::RestoreRequest& request) {
  const unsigned threads = thread_count(k_descriptors_of_restoring_worker);
  if (run.task == record::Task::repair) {
    return std::make_unique<catalog::RestoreRepair>(storage.log_dir, storage.tree, threads,
                                                    request);
  }
  return std::make_unique<catalog::RestoreDeletion>(storage.log_dir, storage.tree, threads,
                                                    request);
}

bool restore(const StoragePaths& storage, const record::Run& run,
             const catalog::RestoreRequest& request) {
  const auto task = task_for(storage, run, request);
  if (task->number_of_dirs() == 0U && !request.wanted.are_all()) {
    dct::report_error("ERROR: the run changed nothing of this client and policy\n");
    return false;
  }
  return run_task(*task) && task->all_is_restored();
}

}  // namespace

int run_restore(const StoragePaths& storage, const record::Run& run,
                const catalog::RestoreRequest& request) {
  if (!tree_is_there(storage) || !location_can_be_run()) return k_exit_failure;
  bool done = false;
  if (request.dry_run) {
    done = restore(storage, run, request);
  } else {
    if (!StopServices(opt_tvr_location)) return k_exit_failure;
    done = then_start_services(opt_tvr_location, [&] { return restore(storage, run, request); });
  }
  if (!done) return k_exit_failure;
  console::print(progname + " finished successfully.\n");
  return k_exit_success;
}
