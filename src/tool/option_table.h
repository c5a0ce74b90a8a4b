#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config/options.h"

// The options of mdfixup. A new one needs, here, its variable; in option_table.cc, its descriptor, its
// row in `options` and, if it limits the consistency task, a row in limits_go_with_the_task; and its
// text in the manual page and both completions, which a test compares with the table.
//
// Threads: set on the main thread before any other runs; constant from then on.

extern std::string progname;

extern bool opt_repair;
extern bool opt_scan;
extern bool opt_force;
extern bool opt_catalog_DR;
extern bool opt_dry_run;
extern bool opt_pendimport_consistency;
extern std::int64_t opt_catalog_backup_time;  // seconds since the epoch; 0 if not given
extern std::int32_t opt_num_threads;
extern const char* opt_tvr_location;
extern const char* opt_tvr_disk_pool;      // null if not given
extern const char* opt_approved;           // null if not given
extern std::int32_t opt_max_orphan_share;  // percent; below 0 if not given
extern std::vector<std::string> opt_only;
extern std::vector<std::string> opt_except;
extern bool opt_no_undo;
extern bool opt_one_listing;
extern bool opt_version;
extern bool opt_help;

// Those that mdfixup-undo has too.
extern const OptDescriptor o_dry_run;
extern const OptDescriptor o_num_threads;
extern const OptDescriptor o_tvr_location;
extern const OptDescriptor o_help;

// All options, NULL-terminated.
const OptDescriptor* const* option_table();

// Whether opt_num_threads is in range. Reports it on standard error if not.
bool num_threads_are_in_range();

// Sets the variables from the command line. Returns false if it is rejected, after one line on standard
// error that names the fault.
bool parse_options(int argc, char** argv);

// Whether the options can be used together and with the task. Reports two that cannot, in one line.
bool options_go_together();
