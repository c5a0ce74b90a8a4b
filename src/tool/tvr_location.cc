#include "tool/tvr_location.h"

#include <string>

#include "dct/filesystem.h"
#include "dct/report_error.h"
#include "dct/shell.h"
#include "tool/option_table.h"

bool location_is_there() {
  if (dct::filesystem::exists(opt_tvr_location)) return true;
  dct::report_error("The provided Tavrin install location ( " + std::string(opt_tvr_location) +
                    " ) does not exist\n");
  return false;
}

bool location_can_be_run() {
  if (dct::is_plain_shell_word(opt_tvr_location)) return true;
  dct::report_error("ERROR: The Tavrin install location ( " + std::string(opt_tvr_location) +
                    " ) holds a character that cannot be passed to the shell\n");
  return false;
}
