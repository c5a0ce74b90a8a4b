#include <memory>
#include <string>

#include "catalog/orphans/compare_in_one_listing.h"
#include "catalog/orphans/delete_orphan_pos.h"
#include "catalog/orphans/print_orphan_pos.h"
#include "catalog/orphans/visit_pos_not_in_tvr_catalog.h"
#include "console/run_log.h"
#include "console/standard_streams.h"
#include "dct/filesystem.h"
#include "dct/init_networking.h"
#include "dct/report_error.h"
#include "record/run_record.h"
#include "tool/approval.h"
#include "tool/exit_status.h"
#include "tool/move_tree_aside.h"
#include "tool/option_table.h"
#include "tool/pending_import_guard.h"
#include "tool/run_task.h"
#include "tool/services.h"
#include "tool/tasks.h"
#include "tool/thread_count.h"
#include "tool/tvr_location.h"
#include "tvr_utils/queries.h"

namespace fs = boost::filesystem;

namespace {

bool directories_are_there(const fs::path& admincmd_dir, const StoragePaths& storage) {
  if (!dct::filesystem::exists(admincmd_dir)) {
    dct::report_error("ERROR: The Tavrin admincmd directory ( " + admincmd_dir.string() +
                      " ) does not exist\n.");
    return false;
  }
  return tree_is_there(storage);
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

void log_what_is_listed(const std::string& disk_pool) {
  const unsigned long hours = catalog::podb::listing_hours_ago(opt_catalog_backup_time);
  InfoA("disk pool " + disk_pool +
        (opt_tvr_disk_pool != nullptr ? ", given by --tvr_disk_pool" : ", found by the host name") +
        "; the listing reaches back " + std::to_string(hours) + " hours");
  record::run_record().note([&](record::Run& run) {
    run.disk_pool = disk_pool;
    run.listing_hours = static_cast<std::int64_t>(hours);
    run.catalog_backup_time = opt_catalog_backup_time;
  });
}

template <class Task>
bool compare_by(const StoragePaths& storage, const fs::path& admincmd_dir,
                const std::string& disk_pool, const catalog::ConsistencyLimits& limits) {
  Task task(storage.log_dir, storage.tree, thread_count(), true, admincmd_dir, disk_pool,
            opt_catalog_backup_time);
  task.set_limits(limits);
  task.set_saves_pos(!opt_no_undo);
  return run_task(task);
}

template <class V>
bool compare(const StoragePaths& storage, const fs::path& admincmd_dir,
             const std::string& disk_pool, const catalog::ConsistencyLimits& limits) {
  using catalog::CompareInOneListing;
  using catalog::VisitPOsNotInTVRCatalog;
  return opt_one_listing
             ? compare_by<CompareInOneListing<V>>(storage, admincmd_dir, disk_pool, limits)
             : compare_by<VisitPOsNotInTVRCatalog<V>>(storage, admincmd_dir, disk_pool, limits);
}

// A deletion can be undone only with its record.
bool record_is_kept() {
  using record::run_record;
  if (opt_no_undo) InfoA("nothing is saved (--no_undo): this deletion cannot be undone");
  run_record().note(
      [](record::Run& run) { run.undo = opt_no_undo ? record::Undo::off : record::Undo::saved; });
  if (run_record().sync_commits(record::RunRecord::WhenLost::run_stops)) return true;
  dct::report_error("Refusing to delete anything without a record of the run.\n");
  return false;
}

catalog::ConsistencyLimits limits_given() {
  catalog::ConsistencyLimits limits;
  if (opt_max_orphan_share >= 0) {
    limits.max_orphan_share = static_cast<std::uint32_t>(opt_max_orphan_share);
  }
  limits.filter = catalog::DirFilter(opt_only, opt_except);
  return limits;
}

}  // namespace

int run_consistency(const StoragePaths& storage) {
  dct::InitNetworking::getInstance();
  const fs::path admincmd_dir = fs::path(opt_tvr_location) / "tavrin" / "bin" / "admincmd";
  if (!directories_are_there(admincmd_dir, storage)) return k_exit_failure;
  if (!location_can_be_run()) return k_exit_failure;
  if (!opt_pendimport_consistency && !no_imports_are_pending(storage.root, admincmd_dir)) {
    return k_exit_failure;
  }
  const std::string disk_pool = disk_pool_name(admincmd_dir);
  if (disk_pool.empty()) return k_exit_failure;
  log_what_is_listed(disk_pool);
  catalog::ConsistencyLimits limits = limits_given();
  bool done = false;
  if (opt_dry_run) {
    done = compare<catalog::podb::PrintOrphanPOs>(storage, admincmd_dir, disk_pool, limits);
  } else {
    std::unique_ptr<const catalog::ApprovedOrphans> approved;
    if (opt_approved != nullptr) {
      approved = read_approval(storage, disk_pool);
      if (!approved) return k_exit_failure;
      limits.approved = approved.get();
    }
    if (!record_is_kept() || !StopServices(opt_tvr_location)) return k_exit_failure;
    done = then_start_services(opt_tvr_location, [&] {
      return compare<catalog::podb::DeleteOrphanPOs>(storage, admincmd_dir, disk_pool, limits);
    });
  }
  if (!done) return k_exit_failure;
  console::print("mdfixup finished successfully.\n");
  return k_exit_success;
}
