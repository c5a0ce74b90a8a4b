#include "tool/main_impl.h"

#include <string>

#include "config/version.h"
#include "console/standard_streams.h"
#include "dct/report_error.h"
#include "tool/exit_status.h"
#include "tool/modes.h"
#include "tool/option_table.h"
#include "tool/options_go_together.h"
#include "tool/storage_run.h"
#include "tool/usage.h"

namespace {

// What the flags ask for; the first that applies wins.
int run_mode(const StoragePaths& storage) {
  if (!options_go_together()) return k_exit_failure;
  if (opt_scan) {
    log_mode("client name case scan", record::Task::scan, storage);
    return scan_mode(storage);
  }
  if (opt_repair) {
    log_mode("client name case repair", record::Task::repair, storage);
    return repair_mode(storage);
  }
  if (opt_catalog_DR) {
    if (opt_dry_run) {
      log_mode("metadata consistency, dry run", record::Task::dry_run, storage);
    } else {
      log_mode("metadata consistency, deletion", record::Task::deletion, storage);
    }
    return consistency_mode(storage);
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
    return location_is_there() ? run_mode(storage) : k_exit_failure;
  });
}
