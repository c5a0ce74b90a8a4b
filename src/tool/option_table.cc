#include "tool/option_table.h"

#include <ctime>
#include <iostream>

#include "catalog/walk/dir_filter.h"
#include "dct/report_error.h"
#include "text/one_line.h"

std::string progname;

namespace {

constexpr const char* GLOBAL_def_tvr_loc = "/usr/quorv";
bool opt_cleanup = false;  // accepted from old scripts and never read

}  // namespace

const OptDescriptor o_cleanup{0, "cleanup_case_work_space", "false", &opt_cleanup};
bool opt_repair = false;
const OptDescriptor o_repair{0, "repair_client_name_case", "false", &opt_repair};
bool opt_scan = false;
const OptDescriptor o_scan{0, "scan_client_name_case", "false", &opt_scan};
bool opt_force = false;
const OptDescriptor o_force{0, "force", "false", &opt_force};
bool opt_catalog_DR = false;
const OptDescriptor o_catalog_DR{0, "FORCE_DEDUPE_METADATA_CONSISTENCY", "false", &opt_catalog_DR};
bool opt_dry_run = false;
const OptDescriptor o_dry_run{0, "dry_run", "false", &opt_dry_run};
bool opt_pendimport_consistency = false;
const OptDescriptor o_pendimport_consistency{0, "FORCE_CONSISTENCY_ALL_IMAGE", "false",
                                             &opt_pendimport_consistency};
std::int64_t opt_catalog_backup_time = 0;
const OptDescriptor o_catalog_backup_time{0, "catalog_backup_time", "0", &opt_catalog_backup_time};
std::int32_t opt_num_threads = 1;
const OptDescriptor o_num_threads{0, "num_threads", "1", &opt_num_threads};
const char* opt_tvr_location = nullptr;
const OptDescriptor o_tvr_location{0, "tvr_location", GLOBAL_def_tvr_loc, &opt_tvr_location};
const char* opt_tvr_disk_pool = nullptr;
const OptDescriptor o_tvr_disk_pool{0, "tvr_disk_pool", nullptr, &opt_tvr_disk_pool};
const char* opt_approved = nullptr;
const OptDescriptor o_approved{0, "approved", nullptr, &opt_approved};
std::int32_t opt_max_orphan_share = -1;
const OptDescriptor o_max_orphan_share{0, "max_orphan_share", nullptr, &opt_max_orphan_share};
std::vector<std::string> opt_only;
const OptDescriptor o_only{0, "only", nullptr, &opt_only};
std::vector<std::string> opt_except;
const OptDescriptor o_except{0, "except", nullptr, &opt_except};
bool opt_no_undo = false;
const OptDescriptor o_no_undo{0, "no_undo", "false", &opt_no_undo};
bool opt_one_listing = false;
const OptDescriptor o_one_listing{0, "one_listing", "false", &opt_one_listing};
bool opt_version = false;
const OptDescriptor o_version{0, "version", "false", &opt_version};
bool opt_help = false;
const OptDescriptor o_help{'h', "help", "false", &opt_help};

namespace {

const OptDescriptor* const options[] = {&o_cleanup,
                                        &o_repair,
                                        &o_scan,
                                        &o_force,
                                        &o_catalog_DR,
                                        &o_dry_run,
                                        &o_pendimport_consistency,
                                        &o_catalog_backup_time,
                                        &o_num_threads,
                                        &o_tvr_location,
                                        &o_tvr_disk_pool,
                                        &o_approved,
                                        &o_max_orphan_share,
                                        &o_only,
                                        &o_except,
                                        &o_no_undo,
                                        &o_one_listing,
                                        &o_version,
                                        &o_help,
                                        nullptr};

bool within(const OptDescriptor& option, std::int64_t value, std::int64_t most) {
  if (value <= most) return true;
  std::cerr << progname + ": the argument ('" + std::to_string(value) + "') for option '--" +
                   option.long_name + "' is out of range, which is 0 to " + std::to_string(most) +
                   "\n";
  return false;
}

bool names_directories(const OptDescriptor& option, const std::vector<std::string>& texts) {
  for (const std::string& text : texts) {
    if (catalog::DirFilter::is_name(text)) continue;
    std::cerr << progname << ": the argument ('" << util::on_one_line(text) << "') for option '--"
              << option.long_name << "' is not CLIENT or CLIENT/POLICY\n";
    return false;
  }
  return true;
}

constexpr const char* k_requires = "requires";
constexpr const char* k_excludes = "cannot be used with";

bool reject(const OptDescriptor& option, const char* why, const OptDescriptor& other) {
  dct::report_error(std::string("The --") + option.long_name + " option " + why + " the --" +
                    other.long_name + " option\n");
  return false;
}

// A task that ignored one of these would change what the operator meant to keep.
bool limits_go_with_the_task() {
  const struct {
    const OptDescriptor& option;
    bool is_given;
    bool is_for_dry_runs;
  } limits[] = {{o_approved, opt_approved != nullptr, false},
                {o_max_orphan_share, opt_max_orphan_share >= 0, true},
                {o_only, !opt_only.empty(), true},
                {o_except, !opt_except.empty(), true},
                {o_no_undo, opt_no_undo, false},
                {o_one_listing, opt_one_listing, true}};
  for (const auto& [option, is_given, is_for_dry_runs] : limits) {
    if (!is_given) continue;
    if (opt_scan) return reject(option, k_excludes, o_scan);
    if (opt_repair) return reject(option, k_excludes, o_repair);
    if (!opt_catalog_DR) return reject(option, k_requires, o_catalog_DR);
    if (opt_dry_run && !is_for_dry_runs) return reject(option, k_excludes, o_dry_run);
  }
  return true;
}

}  // namespace

const OptDescriptor* const* option_table() {
  return options;
}

bool num_threads_are_in_range() {
  constexpr std::int32_t k_most_threads = 1024;
  return within(o_num_threads, opt_num_threads, k_most_threads);
}

bool parse_options(int argc, char** argv) {
  constexpr std::int32_t k_most_percent = 100;
  return opt_parse(options, argc, argv) == 0 && num_threads_are_in_range() &&
         within(o_catalog_backup_time, opt_catalog_backup_time, std::time(nullptr)) &&
         within(o_max_orphan_share, opt_max_orphan_share, k_most_percent) &&
         names_directories(o_only, opt_only) && names_directories(o_except, opt_except);
}

bool options_go_together() {
  if (!opt_scan) {
    if (opt_force && !opt_repair) return reject(o_force, k_requires, o_repair);
    if (opt_repair && opt_dry_run) return reject(o_dry_run, k_excludes, o_repair);
  }
  return limits_go_with_the_task();
}
