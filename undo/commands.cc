#include "undo/commands.h"

#include <optional>
#include <string>

#include "config/version.h"
#include "console/run_log.h"
#include "console/standard_streams.h"
#include "dct/report_error.h"
#include "record/forget_saved.h"
#include "record/run_record.h"
#include "report/escape.h"
#include "report/wording.h"
#include "tool/exit_status.h"
#include "tool/option_table.h"
#include "tool/run_on_storage.h"
#include "tool/tvr_location.h"
#include "undo/command_line.h"
#include "undo/restore/run_restore.h"
#include "undo/saved_run.h"
#include "undo/views.h"

namespace undo {

namespace {

int refuse(const SavedRun& run, const std::string& why) {
  dct::report_error("ERROR: the run " + report::printable(run.file.id) +
                    " cannot be undone: " + why + "\n");
  return k_exit_failure;
}

// Rejects a run of another storage: its clients and policies may have the same names as this one's.
std::optional<SavedRun> find_run_of(const StoragePaths& storage, const std::string& word) {
  std::optional<SavedRun> run = find_saved_run(word);
  if (!run || run->file.run.storage_root == storage.root.string()) return run;
  (void)refuse(*run, "it was on the storage " + report::printable(run->file.run.storage_root) +
                         ", and the configured one is " + storage.root.string());
  return std::nullopt;
}

int list() {
  bool is_complete = true;
  print_list(list_saved_runs(is_complete));
  return is_complete ? k_exit_success : k_exit_failure;
}

int show(const Request& request) {
  const auto run = find_saved_run(request.run);
  if (!run) return k_exit_failure;
  print_run(*run);
  return k_exit_success;
}

int restore(const Request& request, const StoragePaths& storage) {
  log_mode("restore of the run " + request.run + (request.dry_run ? ", dry run" : ""),
           record::Task::restore, storage);
  if (!location_is_there()) return k_exit_failure;
  const auto run = find_run_of(storage, request.run);
  if (!run) return k_exit_failure;
  record::run_record().note([&](record::Run& own) { own.of_run = run->file.id; });
  if (!run->can_be_undone()) return refuse(*run, why_not(*run));
  return run_restore(storage, run->file.run, {run->file.file, request.wanted, request.dry_run});
}

// Accepts a forgotten run too: the step that returns the disk space may have failed.
int forget(const Request& request, const StoragePaths& storage) {
  InfoA("mode: forget what the run " + request.run + " saved");
  const auto run = find_run_of(storage, request.run);
  if (!run) return k_exit_failure;
  const bool was_forgotten = run->file.run.undo == record::Undo::forgotten;
  if (!run->can_be_undone() && !was_forgotten) return refuse(*run, why_not(*run));
  record::forget_saved(run->file.file);
  const auto left = find_saved_run(request.run);
  const std::uint64_t bytes = left ? left->file.bytes : 0;
  console::print("The run " + report::printable(run->file.id) +
                 " can no longer be undone; its record takes " +
                 report::counted(bytes, "byte", "bytes") + " now.\n");
  return k_exit_success;
}

}  // namespace

int run(int argc, char** argv) {
  prepare_process(argv[0]);
  Request request;
  if (argc == 1) {
    console::print(help());
    return k_exit_failure;
  }
  if (!parse(argc, argv, request)) return k_exit_failure;
  switch (request.command) {
    case Command::list:
      return list();
    case Command::show:
      return show(request);
    case Command::restore:
      return run_on_storage(argc, argv, [&](const StoragePaths& storage) {
        begin_record(storage, argc, argv);
        return restore(request, storage);
      });
    case Command::forget:
      return run_on_storage(argc, argv,
                            [&](const StoragePaths& storage) { return forget(request, storage); });
    case Command::version:
      console::print(version_text("mdfixup-undo"));
      return k_exit_success;
    case Command::help:
      break;
  }
  console::print(help());
  return k_exit_success;
}

}  // namespace undo
