#include "platform/one_line.h"

namespace platform {

std::string on_one_line(std::string_view text) {
  std::string line;
  for (const char c : text) {
    if (c == '\n') {
      line += "\\n";
    } else if (c == '\r') {
      line += "\\r";
    } else {
      line += c;
    }
  }
  return line;
}

}  // namespace platform
