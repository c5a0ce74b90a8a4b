#include "lock/file_lock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include "console/run_log.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace util {

namespace {

constexpr mode_t k_lock_file_mode = 0600;

[[noreturn]] void fail(const std::string& what, const fs::path& path) {
  throw std::system_error(errno, std::generic_category(), what + path.string());
}

bool is_same_file(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Marks every descriptor of the file behind `descriptor` to be closed in children: the library
// opens one that is inherited, and a service that we start would hold on to the file for ever. The
// lock holds where this fails, too.
void keep_from_children(int descriptor) {
  struct stat file {};
  if (::fstat(descriptor, &file) != 0) return;
  boost::system::error_code error;
  fs::directory_iterator entry("/proc/self/fd", error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    const int open = std::stoi(entry->path().filename().string());
    struct stat other {};
    if (::fstat(open, &other) == 0 && is_same_file(other, file)) {
      (void)::fcntl(open, F_SETFD, FD_CLOEXEC);
    }
  }
}

// Whether `path` leads to the open file, not to one that was made there since.
bool leads_to(const fs::path& path, int descriptor) {
  struct stat ours {};
  struct stat named {};
  return ::fstat(descriptor, &ours) == 0 && ::lstat(path.c_str(), &named) == 0 &&
         is_same_file(ours, named);
}

// A run that failed on its way to the lock must not leave a file behind that refuses the next one, but
// may take it away only while nobody else holds it.
void abandon(const fs::path& path, int descriptor) {
  struct flock whole_file {};
  whole_file.l_type = F_WRLCK;
  const bool alone = ::fcntl(descriptor, F_SETLK, &whole_file) == 0;
  if (alone && leads_to(path, descriptor)) (void)::unlink(path.c_str());
}

void warn_of_missing_file(const fs::path& path) noexcept {
  try {
    WarningA("the lock file " + path.string() +
             " was removed or replaced during the run: another run may have worked on the storage");
  } catch (const std::exception&) {
    return;  // without memory for a line nothing is lost but the warning
  }
}

}  // namespace

std::unique_ptr<FileLock> FileLock::init(const fs::path& path) {
  boost::system::error_code error;
  // The link itself counts, so that a dangling one is not written through.
  if (fs::exists(fs::symlink_status(path, error))) {
    throw Cr_ErrnoException(k_status_lock_file_exists, "");
  }
  std::unique_ptr<FileLock> lock(new FileLock(path));
  lock->create();
  lock->lock();
  lock->write_process_id();
  return lock;
}

FileLock::FileLock(const fs::path& path) : m_path(path) {}

FileLock::~FileLock() {
  if (m_obtained) {
    remove();
  } else if (m_stream) {
    abandon(m_path, ::fileno(m_stream.get()));
  }
  if (m_directory >= 0) (void)::close(m_directory);
}

// By its directory: a storage that was unmounted during the run would come back with a stale lock.
void FileLock::remove() noexcept {
  const std::string& name = m_path.native();
  const char* const file = name.c_str() + name.rfind('/') + 1;
  struct stat ours {};
  struct stat named {};
  const bool is_ours = ::fstat(::fileno(m_stream.get()), &ours) == 0 &&
                       ::fstatat(m_directory, file, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
                       is_same_file(ours, named);
  if (!is_ours) {
    warn_of_missing_file(m_path);  // another run may hold the one that is there now
  } else {
    // A file that cannot be removed blocks the next run, which names it: nothing is lost.
    (void)::unlinkat(m_directory, file, 0);
  }
}

// Not truncated here: a run that comes second must not wipe out the winner's process id.
void FileLock::create() {
  m_directory = ::open(m_path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (m_directory < 0) fail("could not create the lock file ", m_path);
  const int descriptor =
      ::open(m_path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, k_lock_file_mode);
  if (descriptor < 0) fail("could not create the lock file ", m_path);
  m_stream.reset(::fdopen(descriptor, "r+"));
  if (!m_stream) {
    const int error = errno;
    abandon(m_path, descriptor);
    (void)::close(descriptor);
    errno = error;
    fail("could not open the lock file ", m_path);
  }
}

void FileLock::lock() {
  // Through the open stream rather than by name: the name may lead to another run's file by now,
  // and a lock taken there, be it for a moment, would turn that run away and leave its file behind.
  const int descriptor = ::fileno(m_stream.get());
  const std::string same_file = "/proc/self/fd/" + std::to_string(descriptor);
  m_lock.reset(new boost::interprocess::file_lock(same_file.c_str()));
  keep_from_children(descriptor);
  if (!m_lock->try_lock()) throw Cr_ErrnoException(k_status_lock_held, "");
  // The run that held the lock may have ended and removed the file since it was opened here. A lock
  // on a file that nobody finds any more keeps nobody out.
  if (!leads_to(m_path, descriptor)) throw Cr_ErrnoException(k_status_lock_held, "");
  m_obtained = true;
}

void FileLock::write_process_id() {
  if (::ftruncate(::fileno(m_stream.get()), 0) != 0 ||
      std::fputs(std::to_string(::getpid()).c_str(), m_stream.get()) < 0 ||
      std::fflush(m_stream.get()) != 0) {
    fail("could not write the lock file ", m_path);
  }
}

}  // namespace util
