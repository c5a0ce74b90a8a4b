#include "platform/stored_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/status.h"

namespace platform {

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

void sync_directory(const std::string& directory) {
  sync("directory", directory, O_DIRECTORY);
}

void sync_directories(const boost::filesystem::path& top, boost::filesystem::path directory) {
  for (; !directory.empty(); directory = directory.parent_path()) {
    sync_directory(directory.string());
    if (directory == top) return;
  }
}

}  // namespace platform
