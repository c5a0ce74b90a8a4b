#include "files/file_kind.h"

#include <sys/stat.h>

#include <cerrno>

namespace files {

FileKind file_kind(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0) {
    return S_ISREG(info.st_mode) ? FileKind::regular : FileKind::special;
  }
  const bool is_nothing =
      ::lstat(path.c_str(), &info) != 0 && (errno == ENOENT || errno == ENOTDIR);
  return is_nothing ? FileKind::none : FileKind::out_of_reach;
}

}  // namespace files
