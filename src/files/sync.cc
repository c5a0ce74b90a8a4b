#include "files/sync.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "files/write_all.h"
#include "status/status.h"

namespace files {

namespace {

void sync(const std::string& what, const std::string& path, int flags) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | flags);
  if (descriptor < 0) {
    throw Cr_ErrnoException(errno, "could not open the " + what + " " + path, std::strerror(errno));
  }
  const int error = ::fsync(descriptor) == 0 ? 0 : errno;
  (void)::close(descriptor);  // nothing was written through it
  if (error != 0) {
    throw Cr_ErrnoException(error, "could not store the " + what + " " + path,
                            std::strerror(error));
  }
}

}  // namespace

void sync_file(const std::string& file) {
  sync("file", file, 0);
}

int create_synced_file(const std::string& file, std::string_view bytes) {
  constexpr mode_t k_mode = 0644;
  const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, k_mode);
  if (descriptor < 0) return errno;
  errno = EIO;  // for a write of 0 bytes, which sets no errno
  const bool is_stored = write_all(descriptor, bytes) == bytes.size() && ::fsync(descriptor) == 0;
  const int error = is_stored ? 0 : errno;
  (void)::close(descriptor);  // the file is synced or has failed
  return error;
}

void sync_directory(const std::string& directory) {
  sync("directory", directory, O_DIRECTORY);
}

void sync_directories(const boost::filesystem::path& top, boost::filesystem::path directory) {
  for (; !directory.empty(); directory = directory.parent_path()) {
    sync_directory(directory.string());
    if (directory == top) return;
  }
}

}  // namespace files
