#include <exception>
#include <string>

#include "dct/report_error.h"
#include "platform/run_log.h"
#include "tool/main_impl.h"

int main(int argc, char** argv) {
  constexpr int k_aborted = 1;
  constexpr int k_exit_status_bits = 0xff;
  int result = k_aborted;
  try {
    result = main_impl(argc, argv);
  } catch (const std::exception& error) {
    dct::report_error(std::string("Aborting with error:  ") + error.what() + "\n");
  }
  InfoA("end: exit status " + std::to_string(result & k_exit_status_bits));
  return result;
}
