#include "dct/report_error.h"

#include <iostream>

#include "platform/run_log.h"

namespace dct {

void report_error(const std::string& text) {
  std::cerr << text;
  const std::size_t begin = text.find_first_not_of('\n');
  const std::size_t last = text.find_last_not_of('\n');
  if (begin != std::string::npos) ErrorA(text.substr(begin, last + 1 - begin));
}

}  // namespace dct
