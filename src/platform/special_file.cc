#include "platform/special_file.h"

#include <sys/stat.h>

namespace platform {

bool is_special_file(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode);
}

}  // namespace platform
