#include "sandbox/pid_files_lock.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace sandbox {

namespace {

int s_locks = 0;
int s_descriptor = -1;

// Children do not inherit the descriptor: services that stay would keep the lock.
int lock(const char* dir, int operation) {
  const int descriptor = ::open(dir, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  int result = descriptor < 0 ? -1 : ::flock(descriptor, operation);
  while (result != 0 && errno == EINTR) result = ::flock(descriptor, operation);
  if (result != 0) throw std::system_error(errno, std::generic_category(), dir);
  return descriptor;
}

}  // namespace

bool isolate_pid_files() {
  return ::unshare(CLONE_NEWNS) == 0 &&
         ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         ::mount("none", "/var/run", "tmpfs", 0, nullptr) == 0;
}

PidFilesLock::PidFilesLock(Use use) {
  if (s_locks == 0) {
    if (use == Use::write) {
      static const bool is_isolated = isolate_pid_files();  // once for each process
      (void)is_isolated;
    }
    // A waiting writer holds this lock, or new readers would overtake it again and again.
    const int queue = lock("/var", LOCK_EX);
    s_descriptor = lock("/var/run", use == Use::write ? LOCK_EX : LOCK_SH);
    ::close(queue);
  }
  ++s_locks;
}

PidFilesLock::~PidFilesLock() {
  if (--s_locks == 0) ::close(s_descriptor);
}

}  // namespace sandbox
