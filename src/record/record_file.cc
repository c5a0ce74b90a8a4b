#include "record/record_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <boost/filesystem/operations.hpp>

#include "files/sync.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace record {

// On a file system without locks, SQLite would report that only after ten seconds.
void make_file(const std::string& path) {
  constexpr mode_t k_mode = 0640;
  struct flock lock {};
  lock.l_type = F_WRLCK;
  const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, k_mode);
  const bool is_made = descriptor >= 0 && ::fcntl(descriptor, F_SETLK, &lock) == 0;
  const int error = errno;
  if (descriptor >= 0) (void)::close(descriptor);  // nothing was written
  if (descriptor >= 0 && !is_made) (void)::unlink(path.c_str());
  if (!is_made) throw Cr_ErrnoException(error, "could not make " + path, std::strerror(error));
}

void put_in_place(const std::string& made, const std::string& file) {
  files::sync_file(made);
  if (fs::exists(file)) throw Cr_ErrnoException(EEXIST, file + " is there already");
  if (std::rename(made.c_str(), file.c_str()) != 0) {
    throw Cr_ErrnoException(errno, "could not make " + file, std::strerror(errno));
  }
  files::sync_directory(fs::path(file).parent_path().string());
}

}  // namespace record
