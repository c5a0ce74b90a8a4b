#include <exception>
#include <string>

#include "dct/report_error.h"
#include "platform/reports.h"
#include "platform/run_log.h"
#include "platform/status.h"
#include "tool/exit_status.h"
#include "tool/main_impl.h"

namespace {

bool everything_was_reported() {
  if (platform::standard_output_is_whole() && !platform::reports_were_lost()) return true;
  dct::report_error("The run ended well, but not all that it reports could be written.\n");
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  constexpr int k_aborted = 1;
  constexpr int k_exit_status_bits = 0xff;
  int result = k_aborted;
  try {
    result = main_impl(argc, argv);
  } catch (const Cr_ErrnoException& error) {
    dct::report_error("Aborting with error:  " + error.GetString() + "\n");
  } catch (const std::exception& error) {
    dct::report_error(std::string("Aborting with error:  ") + error.what() + "\n");
  }
  if (result == k_exit_success && !everything_was_reported()) result = k_exit_failure;
  InfoA("end: exit status " + std::to_string(result & k_exit_status_bits));
  // That line may be the one that found no place.
  return result == k_exit_success && platform::reports_were_lost() ? k_exit_failure : result;
}
