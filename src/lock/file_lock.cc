#include "lock/file_lock.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>
#include <system_error>

#include <boost/filesystem/operations.hpp>
#include <boost/interprocess/exceptions.hpp>

#include "console/run_log.h"
#include "files/write_all.h"
#include "status/status.h"
#include "text/to_number.h"

namespace fs = boost::filesystem;

namespace util {

namespace {

[[noreturn]] void fail(const std::string& what, const fs::path& path) {
  throw std::system_error(errno, std::generic_category(), what + path.string());
}

int checked(int descriptor, const fs::path& path) {
  if (descriptor < 0) fail("could not create the lock file ", path);
  return descriptor;
}

int open_directory(const fs::path& path) {
  return checked(::open(path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), path);
}

// Does not truncate: a run that comes second must not erase the winner's process id.
int open_file(const fs::path& path) {
  constexpr mode_t k_mode = 0600;
  return checked(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, k_mode), path);
}

// Takes the record lock, without waiting. On failure errno says why.
bool lock_whole_file(int descriptor) {
  struct flock whole_file {};
  whole_file.l_type = F_WRLCK;
  return ::fcntl(descriptor, F_SETLK, &whole_file) == 0;
}

// Whether the name in the directory leads to the open file, not to one that was made there since.
bool leads_to(int directory, const char* name, int descriptor) {
  struct stat open {};
  struct stat named {};
  return ::fstat(descriptor, &open) == 0 &&
         ::fstatat(directory, name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

void warn_of_missing_file(const fs::path& path) noexcept {
  try {
    WarningA("the lock file " + path.string() +
             " was removed or replaced during the run: another run may have worked on the storage");
  } catch (const std::exception&) {
    return;  // without memory for a line only the warning is lost
  }
}

struct LockFile {
  int error = 0;  // why it could not be read
  pid_t pid = 0;  // of the file's text; 0 for none
  bool is_locked = false;
};

// Anything but a regular file names no process, and is not waited for.
LockFile read_lock_file(const std::string& path) {
  LockFile file;
  const Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (descriptor.get() < 0) {
    if (errno != ELOOP && errno != ENXIO) file.error = errno;
    return file;
  }
  struct stat info {};
  if (::fstat(descriptor.get(), &info) == 0 && S_ISREG(info.st_mode)) {
    std::array<char, 16> text{};
    const ssize_t length = ::read(descriptor.get(), text.data(), text.size());
    const std::string_view digits(text.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    if (!try_to_number(digits, file.pid) || file.pid < 0) file.pid = 0;
    struct flock lock {};
    lock.l_type = F_WRLCK;
    file.is_locked = ::fcntl(descriptor.get(), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  }
  return file;
}

bool is_alive(pid_t pid) {
  constexpr int k_only_probe = 0;
  return ::kill(pid, k_only_probe) == 0 || errno == EPERM;
}

// The kernel's name for the program of a process; empty if there is no such process.
std::string program_of(const std::string& process) {
  std::ifstream file("/proc/" + process + "/comm");
  std::string name;
  std::getline(file, name);
  return name;
}

}  // namespace

std::unique_ptr<FileLock> FileLock::init(const fs::path& path) {
  boost::system::error_code error;
  // A link counts as a file, so that a dangling one is not written through.
  if (fs::exists(fs::symlink_status(path, error))) {
    throw Cr_ErrnoException(k_status_lock_file_exists, "");
  }
  std::unique_ptr<FileLock> lock(new FileLock(path));
  lock->obtain();
  lock->write_process_id();
  return lock;
}

FileLock::FileLock(const fs::path& path)
    : m_path(path), m_directory(open_directory(path)), m_file(open_file(path)) {}

// A run that failed on its way to the lock removes the file too, unless another holds it: the file
// would block the next run. So would one that cannot be removed; that run reports it.
FileLock::~FileLock() {
  if (!m_is_obtained && !lock_whole_file(m_file.get())) return;
  const std::string& path = m_path.native();
  const char* const name = path.c_str() + path.rfind('/') + 1;
  if (leads_to(m_directory.get(), name, m_file.get())) {
    (void)::unlinkat(m_directory.get(), name, 0);
  } else if (m_is_obtained) {
    warn_of_missing_file(m_path);
  }
}

void FileLock::obtain() {
  if (!lock_whole_file(m_file.get())) {
    if (errno == EAGAIN || errno == EACCES) throw Cr_ErrnoException(k_status_lock_held, "");
    throw boost::interprocess::interprocess_exception(boost::interprocess::error_info(errno));
  }
  // The run that held the lock may have removed the file since it was opened here. Then this lock
  // excludes no other run.
  if (!leads_to(AT_FDCWD, m_path.c_str(), m_file.get())) {
    throw Cr_ErrnoException(k_status_lock_held, "");
  }
  m_is_obtained = true;
}

void FileLock::write_process_id() {
  const std::string id = std::to_string(::getpid());
  if (::ftruncate(m_file.get(), 0) != 0 || files::write_all(m_file.get(), id) != id.size()) {
    fail("could not write the lock file ", m_path);
  }
}

LockState lock_state(const fs::path& path) {
  boost::system::error_code error;
  const fs::file_status status = fs::symlink_status(path, error);
  if (status.type() == fs::file_not_found) return LockState::none;
  const LockFile file = read_lock_file(path.string());
  const int fault = error ? error.value() : file.error;
  if (fault != 0) throw std::system_error(fault, std::generic_category(), path.string());
  // The programs that take the lock have names that begin with this.
  constexpr std::string_view k_own = "mdfixup";
  const bool is_run = file.pid != 0 && is_alive(file.pid) &&
                      program_of(std::to_string(file.pid)).rfind(k_own, 0) == 0;
  return file.is_locked || is_run ? LockState::held : LockState::stale;
}

// The record lock shows runs on other hosts and in containers, whose process ids mean nothing here.
// Some network file systems do not pass it on, so the process id counts too.
std::string describe_lock_file(const boost::filesystem::path& path) {
  const LockFile file = read_lock_file(path.string());
  if (file.error != 0) {
    return "It cannot be read: " + std::string(std::strerror(file.error)) + ".\n";
  }
  const std::string self = program_of("self");
  const std::string remove =
      " If no " + self +
      " works on this storage from elsewhere, remove the file and run this again.\n";
  if (file.pid == 0 && !file.is_locked) return "It names no process." + remove;
  const std::string process =
      file.pid == 0 ? "It names no process" : "It names process " + std::to_string(file.pid);
  const bool is_alive_here = file.pid != 0 && is_alive(file.pid);
  if (is_alive_here && program_of(std::to_string(file.pid)) == self) {
    return process + ", which is running and is " + self + ". Wait until that run has ended.\n";
  }
  if (file.is_locked) {
    return process + ", but a run elsewhere holds it. Wait until that run has ended.\n";
  }
  if (is_alive_here) return process + ", which is running but is not " + self + "." + remove;
  return process + ", which is not running on this host." + remove;
}

}  // namespace util
