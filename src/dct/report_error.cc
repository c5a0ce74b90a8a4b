#include "dct/report_error.h"

#include "console/run_log.h"
#include "console/standard_streams.h"

namespace dct {

void report_error(const std::string& text) {
  (void)console::write_standard_error(text);  // the run log gets it too, or counts it as lost
  const std::size_t begin = text.find_first_not_of('\n');
  const std::size_t last = text.find_last_not_of('\n');
  if (begin != std::string::npos) ErrorA(text.substr(begin, last + 1 - begin));
}

}  // namespace dct
