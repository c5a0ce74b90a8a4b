#include "tool/option_table.h"

#include <ctime>
#include <iostream>

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
bool opt_help = false;

namespace {

constexpr const char* GLOBAL_def_tvr_loc = "/usr/quorv";
constexpr std::int32_t k_most_threads = 1024;

const OptGroup og_catalog_consistency{"Deduplication Metadata Consistency"};

const OptDescriptor o_cleanup{
    nullptr, 0, "cleanup_case_work_space", OptKind::flag, "false", &opt_cleanup, nullptr};

}  // namespace

const OptDescriptor o_repair{nullptr,     0,      "repair_client_name_case", OptKind::flag, "false",
                             &opt_repair, nullptr};

namespace {

const OptDescriptor o_scan{nullptr,   0,      "scan_client_name_case", OptKind::flag, "false",
                           &opt_scan, nullptr};

const OptDescriptor o_force{nullptr, 0, "force", OptKind::flag, "false", &opt_force, nullptr};

const OptDescriptor o_catalog_DR{
    &og_catalog_consistency,
    0,
    "FORCE_DEDUPE_METADATA_CONSISTENCY",
    OptKind::flag,
    "false",
    &opt_catalog_DR,
    "Force the deduplication metadata to be consistent with the Tavrin catalog"};

}  // namespace

const OptDescriptor o_dry_run{
    &og_catalog_consistency,
    0,
    "dry_run",
    OptKind::flag,
    "false",
    &opt_dry_run,
    "Do not actually carry out any changes; print them to screen and log files"};

namespace {

const OptDescriptor o_pendimport_consistency{
    &og_catalog_consistency,
    0,
    "FORCE_CONSISTENCY_ALL_IMAGE",
    OptKind::flag,
    "false",
    &opt_pendimport_consistency,
    "Force the deduplication metadata to be consistent with the Tavrin catalog even there are "
    "images waiting to be imported"};

const OptDescriptor o_catalog_backup_time{&og_catalog_consistency,
                                          0,
                                          "catalog_backup_time",
                                          OptKind::time,
                                          "0",
                                          &opt_catalog_backup_time,
                                          "The timestamp for the catalog backup image"};

const OptDescriptor o_num_threads{
    &og_catalog_consistency,       0, "num_threads", OptKind::integer, "1", &opt_num_threads,
    "The number of threads to use"};

const OptDescriptor o_tvr_location{&og_catalog_consistency,
                                   0,
                                   "tvr_location",
                                   OptKind::string,
                                   GLOBAL_def_tvr_loc,
                                   &opt_tvr_location,
                                   "Set the base tavrin install directory"};

const OptDescriptor o_tvr_disk_pool{
    &og_catalog_consistency,    0, "tvr_disk_pool", OptKind::string, nullptr, &opt_tvr_disk_pool,
    "The tavrin disk pool name"};

const OptDescriptor o_help{nullptr, 'h', "help", OptKind::flag, "false", &opt_help, nullptr};

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
                                        &o_help,
                                        nullptr};

bool within(const OptDescriptor& option, std::int64_t value, std::int64_t most) {
  if (value <= most) return true;
  std::cerr << progname + ": the argument ('" + std::to_string(value) + "') for option '--" +
                   option.long_name + "' is out of range, which is 0 to " + std::to_string(most) +
                   "\n";
  return false;
}

}  // namespace

const OptDescriptor* const* option_table() {
  return options;
}

bool parse_options(int argc, char** argv) {
  return opt_parse(options, argc, argv) == 0 &&
         within(o_num_threads, opt_num_threads, k_most_threads) &&
         within(o_catalog_backup_time, opt_catalog_backup_time, std::time(nullptr));
}
