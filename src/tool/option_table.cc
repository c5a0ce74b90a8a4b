#include "tool/option_table.h"

#include <ctime>
#include <iostream>

#include "catalog/walk/dir_filter.h"
#include "text/one_line.h"

std::string progname;

bool opt_cleanup = false;
bool opt_repair = false;
bool opt_scan = false;
bool opt_force = false;
bool opt_catalog_DR = false;
bool opt_dry_run = false;
bool opt_pendimport_consistency = false;
std::int64_t opt_catalog_backup_time = 0;
std::int32_t opt_num_threads = 1;
const char* opt_tvr_location = nullptr;
const char* opt_tvr_disk_pool = nullptr;
const char* opt_approved = nullptr;
std::int32_t opt_max_orphan_share = -1;
std::vector<std::string> opt_only;
std::vector<std::string> opt_except;
bool opt_no_undo = false;
bool opt_one_listing = false;
bool opt_version = false;
bool opt_help = false;

namespace {

constexpr const char* GLOBAL_def_tvr_loc = "/usr/quorv";
constexpr std::int32_t k_most_threads = 1024;
constexpr std::int32_t k_most_percent = 100;

const OptDescriptor o_cleanup{0, "cleanup_case_work_space", "false", &opt_cleanup};
const OptDescriptor o_pendimport_consistency{0, "FORCE_CONSISTENCY_ALL_IMAGE", "false",
                                             &opt_pendimport_consistency};
const OptDescriptor o_catalog_backup_time{0, "catalog_backup_time", "0", &opt_catalog_backup_time};
const OptDescriptor o_version{0, "version", "false", &opt_version};
const OptDescriptor o_tvr_disk_pool{0, "tvr_disk_pool", nullptr, &opt_tvr_disk_pool};

}  // namespace

const OptDescriptor o_scan{0, "scan_client_name_case", "false", &opt_scan};
const OptDescriptor o_force{0, "force", "false", &opt_force};
const OptDescriptor o_catalog_DR{0, "FORCE_DEDUPE_METADATA_CONSISTENCY", "false", &opt_catalog_DR};
const OptDescriptor o_repair{0, "repair_client_name_case", "false", &opt_repair};
const OptDescriptor o_dry_run{0, "dry_run", "false", &opt_dry_run};
const OptDescriptor o_approved{0, "approved", nullptr, &opt_approved};
const OptDescriptor o_max_orphan_share{0, "max_orphan_share", nullptr, &opt_max_orphan_share};
const OptDescriptor o_only{0, "only", nullptr, &opt_only};
const OptDescriptor o_except{0, "except", nullptr, &opt_except};
const OptDescriptor o_no_undo{0, "no_undo", "false", &opt_no_undo};
const OptDescriptor o_one_listing{0, "one_listing", "false", &opt_one_listing};
const OptDescriptor o_num_threads{0, "num_threads", "1", &opt_num_threads};
const OptDescriptor o_tvr_location{0, "tvr_location", GLOBAL_def_tvr_loc, &opt_tvr_location};
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

}  // namespace

bool num_threads_are_in_range() {
  return within(o_num_threads, opt_num_threads, k_most_threads);
}

const OptDescriptor* const* option_table() {
  return options;
}

bool parse_options(int argc, char** argv) {
  return opt_parse(options, argc, argv) == 0 && num_threads_are_in_range() &&
         within(o_catalog_backup_time, opt_catalog_backup_time, std::time(nullptr)) &&
         within(o_max_orphan_share, opt_max_orphan_share, k_most_percent) &&
         names_directories(o_only, opt_only) && names_directories(o_except, opt_except);
}
