#include "tool/approval.h"

#include "catalog/walk/dir_filter.h"
#include "console/run_log.h"
#include "dct/report_error.h"
#include "files/storage_layout.h"
#include "record/run_reader.h"
#include "record/run_record.h"
#include "status/status.h"
#include "text/one_line.h"
#include "tool/option_table.h"

namespace fs = boost::filesystem;

namespace {

// An id consists of two numbers; any other word is a path.
fs::path record_file(const StoragePaths& storage, const std::string& run) {
  if (run.find_first_not_of("0123456789-") != std::string::npos) return run;
  return storage.log_dir / layout::k_records / (run + ".db");
}

std::string differs(const std::string& what, const std::string& its, const std::string& ours) {
  return "its " + what + " is " + its + ", not " + ours;
}

// Why the run cannot approve a deletion; empty if it can.
std::string misfit(const record::Run& run, const StoragePaths& storage,
                   const std::string& disk_pool) {
  if (run.task != record::Task::dry_run) return "it is not of a dry run";
  if (run.end.ending != record::Ending::orderly || run.end.exit_status != 0) {
    return "its run did not end with 0";
  }
  if (run.storage_root != storage.root.string()) {
    return differs("storage root", run.storage_root, storage.root.string());
  }
  if (run.disk_pool != disk_pool) return differs("disk pool", run.disk_pool, disk_pool);
  if (run.catalog_backup_time != opt_catalog_backup_time) {
    return differs("--catalog_backup_time", std::to_string(run.catalog_backup_time),
                   std::to_string(opt_catalog_backup_time));
  }
  return "";
}

void note_approval(const fs::path& file, const catalog::ApprovedOrphans& approved) {
  const std::string id = file.stem().string();
  InfoA("only what the dry run " + id +
        " lists is deleted: " + std::to_string(approved.count(catalog::DirFilter())) +
        " orphan copies; record " + file.string());
  record::run_record().note([&](record::Run& run) { run.of_run = id; });
}

}  // namespace

std::unique_ptr<const catalog::ApprovedOrphans> read_approval(const StoragePaths& storage,
                                                              const std::string& disk_pool) {
  const fs::path file = record_file(storage, opt_approved);
  std::string why;
  try {
    record::RunReader reader(file.string());
    why = misfit(reader.run(), storage, disk_pool);
    if (why.empty()) {
      auto approved = std::make_unique<const catalog::ApprovedOrphans>(reader);
      note_approval(file, *approved);
      return approved;
    }
    why = "the record " + file.string() + " does not fit this deletion: " + why;
  } catch (const Cr_ErrnoException& error) {
    why = error.GetString();
  }
  dct::report_error(util::on_one_line("ERROR: --approved: " + why) + "\n");
  return nullptr;
}
