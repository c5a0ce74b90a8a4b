#include "tool/tvr_location.h"

#include <string>

#include "dct/report_error.h"
#include "dct/shell_word.h"
#include "tool/option_table.h"

bool location_can_be_run() {
  if (dct::is_plain_shell_word(opt_tvr_location)) return true;
  dct::report_error("ERROR: The Tavrin install location ( " + std::string(opt_tvr_location) +
                    " ) holds a character that cannot be passed to the shell\n");
  return false;
}
