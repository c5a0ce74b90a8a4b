#pragma once

namespace sandbox {

// Keeps the services' pid files in /var/run as they are: every repair, deletion and restore on this
// machine reads them, and the tests of the services write them. The lock is on the directory itself.
//
// Threads: one thread. Locks of one process nest; the outermost decides.
// Errors: std::system_error when the directory cannot be locked.
class PidFilesLock {
 public:
  enum class Use { read, write };

  explicit PidFilesLock(Use use);
  ~PidFilesLock();
  PidFilesLock(const PidFilesLock&) = delete;
  PidFilesLock& operator=(const PidFilesLock&) = delete;
};

}  // namespace sandbox
