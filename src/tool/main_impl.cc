#include "tool/main_impl.h"

#include <string>

#include "config/version.h"
#include "console/standard_streams.h"
#include "dct/report_error.h"
#include "tool/exit_status.h"
#include "tool/option_table.h"
#include "tool/run_on_storage.h"
#include "tool/tasks.h"
#include "tool/tvr_location.h"
#include "tool/usage.h"

namespace {

// Runs the task that the flags ask for; the first that applies wins.
int run_chosen_task(const StoragePaths& storage) {
  if (!options_go_together()) return k_exit_failure;
  if (opt_scan) {
    log_mode("client name case scan", record::Task::scan, storage);
    return run_scan(storage);
  }
  if (opt_repair) {
    log_mode("client name case repair", record::Task::repair, storage);
    return run_repair(storage);
  }
  if (opt_catalog_DR) {
    if (opt_dry_run) {
      log_mode("metadata consistency, dry run", record::Task::dry_run, storage);
    } else {
      log_mode("metadata consistency, deletion", record::Task::deletion, storage);
    }
    return run_consistency(storage);
  }
  dct::report_error("Unknown options combination\n");
  return k_exit_failure;
}

}  // namespace

int main_impl(int argc, char** argv) {
  prepare_process(argv[0]);
  if (!parse_options(argc, argv) || argc == 1) {
    Usage();
    return k_exit_failure;
  }
  if (opt_version) {
    console::print(version_text("mdfixup"));
    return k_exit_success;
  }
  if (opt_help) {
    Usage();
    return k_exit_success;
  }
  return run_on_storage(argc, argv, [&](const StoragePaths& storage) {
    begin_record(storage, argc, argv);
    return location_is_there() ? run_chosen_task(storage) : k_exit_failure;
  });
}
