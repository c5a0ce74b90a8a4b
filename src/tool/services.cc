#include "tool/services.h"

#include "console/standard_streams.h"
#include "cr/utils/dedupe_engine_process_control.h"
#include "dct/report_error.h"
#include "tool/option_table.h"

bool StopServices(const boost::filesystem::path& tvr_location) {
  const cr::utils::DedupeEngineProcessControl services(tvr_location);
  if (opt_force) services.stop_all();
  if (services.all_are_stopped()) return true;
  if (opt_force) {
    dct::report_error("\nCould not stop the Tavrin Deduplication services.\n\n");
  }
  // The deletion prints the same text.
  dct::report_error(
      "During the repair process Tavrin Deduplication services need to be off.\n"
      "Please shutdown Tavrin Deduplication services with the following commands and rerun this "
      "tool:\n" +
      services.get_stop_services_string());
  return false;
}

void StartServices(const boost::filesystem::path& tvr_location) {
  if (opt_force) {
    cr::utils::DedupeEngineProcessControl(tvr_location).start_all();
  } else {
    print_start_commands(tvr_location);
  }
}

bool then_start_services(const boost::filesystem::path& tvr_location,
                         const std::function<bool()>& work) {
  bool done = false;
  try {
    done = work();
  } catch (...) {
    StartServices(tvr_location);
    throw;
  }
  StartServices(tvr_location);
  return done;
}

void print_start_commands(const boost::filesystem::path& tvr_location) {
  const cr::utils::DedupeEngineProcessControl services(tvr_location);
  console::print("Please start Tavrin Deduplication services with the following commands:\n" +
                 services.get_start_services_string());
}
