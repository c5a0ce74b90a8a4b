#include "util/lock_owner.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <string_view>

#include "util/to_number.h"

namespace util {

namespace {

struct LockFile {
  pid_t pid = 0;  // that it names; 0 for none
  bool is_locked = false;
};

// What is no regular file is not waited for, and says nothing.
LockFile read_lock_file(const std::string& path) {
  LockFile file;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return file;
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

// A process id says nothing of other hosts and containers, but the record lock does.
std::string describe_lock_file(const boost::filesystem::path& path) {
  const LockFile file = read_lock_file(path.string());
  const std::string self = program_of("self");
  const std::string remove = " Remove the file and run this again.\n";
  std::string text = "It names no process";
  if (file.pid != 0) text = "It names process " + std::to_string(file.pid);
  const bool alive = file.pid != 0 && is_alive(file.pid);
  if (alive && program_of(std::to_string(file.pid)) == self) {
    return text + ", which is running and is " + self + ". Wait until that run has ended.\n";
  }
  if (file.is_locked) {
    return text +
           ", but a run on another host or in a container holds it. Wait until it has ended.\n";
  }
  if (alive) {
    return text + ", which is running but is not " + self + ": the run that made it is gone." +
           remove;
  }
  if (file.pid != 0) return text + ", which is not running: that run was killed." + remove;
  return text + ". If no " + self + " is running, remove it and run this again.\n";
}

}  // namespace util
