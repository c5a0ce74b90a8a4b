#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config/options.h"

// The command line, as parse_options leaves it.
extern std::string progname;

extern bool opt_cleanup;  // accepted from old scripts and never read
extern bool opt_repair;
extern bool opt_scan;
extern bool opt_force;
extern bool opt_catalog_DR;
extern bool opt_dry_run;
extern bool opt_pendimport_consistency;
extern std::int64_t opt_catalog_backup_time;  // seconds since the epoch, 0 when not given
extern std::int32_t opt_num_threads;
extern const char* opt_tvr_location;
extern const char* opt_tvr_disk_pool;      // null when not given
extern const char* opt_approved;           // null when not given
extern std::int32_t opt_max_orphan_share;  // percent; below 0 when not given
extern std::vector<std::string> opt_only;
extern std::vector<std::string> opt_except;
extern bool opt_no_undo;
extern bool opt_one_listing;
extern bool opt_version;
extern bool opt_help;

extern const OptDescriptor o_scan;
extern const OptDescriptor o_repair;
extern const OptDescriptor o_force;
extern const OptDescriptor o_catalog_DR;
extern const OptDescriptor o_dry_run;
extern const OptDescriptor o_approved;
extern const OptDescriptor o_max_orphan_share;
extern const OptDescriptor o_only;
extern const OptDescriptor o_except;
extern const OptDescriptor o_no_undo;
extern const OptDescriptor o_one_listing;
extern const OptDescriptor o_num_threads;
extern const OptDescriptor o_tvr_location;
extern const OptDescriptor o_help;

// All options, NULL-terminated.
const OptDescriptor* const* option_table();

// Whether as many threads may be asked for. Reports it on standard error if not.
bool num_threads_are_in_range();

// Sets the variables from the command line. False, after one line on standard error that names what
// is wrong, when it is rejected.
bool parse_options(int argc, char** argv);
