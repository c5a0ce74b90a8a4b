#include "tool/options_go_together.h"

#include <string>

#include "dct/report_error.h"
#include "tool/option_table.h"

namespace {

bool refuse(const OptDescriptor& option, const char* why, const OptDescriptor& other) {
  dct::report_error(std::string("The --") + option.long_name + " option " + why + " the --" +
                    other.long_name + " option\n");
  return false;
}

bool refuse_without(const OptDescriptor& option, const OptDescriptor& other) {
  return refuse(option, "requires", other);
}

bool refuse_with(const OptDescriptor& option, const OptDescriptor& other) {
  return refuse(option, "cannot be used with", other);
}

// A task that passed over one of these would touch what was to be left alone.
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
    if (opt_scan) return refuse_with(option, o_scan);
    if (opt_repair) return refuse_with(option, o_repair);
    if (!opt_catalog_DR) return refuse_without(option, o_catalog_DR);
    if (opt_dry_run && !is_for_dry_runs) return refuse_with(option, o_dry_run);
  }
  return true;
}

}  // namespace

bool options_go_together() {
  if (!opt_scan) {
    if (opt_force && !opt_repair) return refuse_without(o_force, o_repair);
    if (opt_repair && opt_dry_run) return refuse_with(o_dry_run, o_repair);
  }
  return limits_go_with_the_task();
}
