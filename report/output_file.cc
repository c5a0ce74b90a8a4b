#include "report/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>

#include "files/file_kind.h"
#include "files/write_all.h"
#include "status/status.h"

namespace report {

namespace {

// Syncs a new file. The umask changes `mode`, but not that of a replaced file, `old_mode`. False, with errno, if a
// step failed.
bool write_to(const std::string& path, int flags, mode_t mode, std::optional<mode_t> old_mode,
              std::string_view text) {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | flags, mode);
  if (descriptor < 0) return false;
  const bool is_new = (flags & O_CREAT) != 0;
  const bool has_mode = !is_new || !old_mode || ::fchmod(descriptor, *old_mode) == 0;
  const bool written = has_mode && files::write_all(descriptor, text) == text.size() &&
                       (!is_new || ::fsync(descriptor) == 0);
  const int error = errno;
  const bool closed = ::close(descriptor) == 0;
  if (!written) errno = error;
  return written && closed;
}

bool begins_so_or_is_empty(const std::string& path, std::string_view wanted) {
  std::string beginning(wanted.size(), '\0');
  std::ifstream file(path, std::ios::binary);
  if (!file) return false;
  file.read(beginning.data(), static_cast<std::streamsize>(beginning.size()));
  return file.gcount() == 0 || beginning == wanted;
}

std::optional<mode_t> mode_of(const std::string& path) {
  constexpr mode_t k_permissions = 0777;
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return status.st_mode & k_permissions;
}

}  // namespace

void write_output_file(const std::string& path, std::string_view text, const FileForm& form) {
  const files::FileKind kind = files::file_kind(path);
  if (kind == files::FileKind::regular && !begins_so_or_is_empty(path, form.beginning)) {
    throw Cr_ErrnoException(EEXIST, "could not write " + path,
                            std::string("it is there, and is no ") + form.name);
  }
  const bool in_place = kind == files::FileKind::special;
  const std::string file = in_place ? path : path + "." + std::to_string(::getpid()) + ".new";
  if (write_to(file, in_place ? 0 : O_CREAT | O_EXCL, form.mode, mode_of(path), text) &&
      (in_place || std::rename(file.c_str(), path.c_str()) == 0)) {
    return;
  }
  const int error = errno;
  if (!in_place && error != EEXIST) (void)::unlink(file.c_str());
  throw Cr_ErrnoException(error, "could not write " + path, std::strerror(error));
}

}  // namespace report
