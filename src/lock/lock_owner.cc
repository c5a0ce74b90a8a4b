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

#include "lock/descriptor.h"
#include "text/to_number.h"

namespace util {

namespace {

struct LockFile {
  std::string fault;  // why it could not be read; empty if it was
  pid_t pid = 0;      // of the file's text; 0 for none
  bool is_locked = false;
};

// Anything but a regular file names no process, and is not waited for.
LockFile read_lock_file(const std::string& path) {
  LockFile file;
  const Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (descriptor.get() < 0) {
    if (errno != ELOOP && errno != ENXIO) file.fault = std::strerror(errno);
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

// The record lock shows runs on other hosts and in containers, whose process ids mean nothing here.
// Some network file systems do not pass it on, so the process id counts too.
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
