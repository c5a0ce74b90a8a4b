#include "lock/lock_owner.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string_view>

#include "text/to_number.h"

namespace util {

namespace {

struct LockFile {
  std::string fault;  // why it could not be read; empty when it was
  pid_t pid = 0;      // that it names; 0 for none
  bool is_locked = false;
};

// What is no regular file is not waited for, and names no process.
LockFile read_lock_file(const std::string& path) {
  LockFile file;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) {
    if (errno != ELOOP && errno != ENXIO) file.fault = std::strerror(errno);
    return file;
  }
  struct stat info {};
  if (::fstat(descriptor, &info) == 0 && S_ISREG(info.st_mode)) {
    std::array<char, 16> text{};
    const ssize_t length = ::read(descriptor, text.data(), text.size());
    const std::string_view digits(text.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    if (!try_to_number(digits, file.pid) || file.pid < 0) file.pid = 0;
    struct flock lock {};
    lock.l_type = F_WRLCK;
    file.is_locked = ::fcntl(descriptor, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  }
  (void)::close(descriptor);
  return file;
}

bool is_alive(pid_t pid) {
  constexpr int k_only_probe = 0;
  return ::kill(pid, k_only_probe) == 0 || errno == EPERM;
}

// The name that the kernel has for the program of a process; empty when there is none.
std::string program_of(const std::string& process) {
  std::ifstream file("/proc/" + process + "/comm");
  std::string name;
  std::getline(file, name);
  return name;
}

}  // namespace

// The record lock tells of runs on other hosts and in containers, whose process ids say nothing here;
// but some network file systems do not pass it on.
std::string describe_lock_file(const boost::filesystem::path& path) {
  const LockFile file = read_lock_file(path.string());
  if (!file.fault.empty()) return "It cannot be read: " + file.fault + ".\n";
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
