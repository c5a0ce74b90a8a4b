#pragma once

namespace sandbox {

// Gives this process and its children their own /var/run, so that they neither see nor touch other
// services. False without the privilege.
bool isolate_pid_files();

// Locks the services' pid files in /var/run: every repair, deletion and restore reads them, and the
// tests of the services write them. The lock is on the directory itself. A writer isolates its pid
// files if it can, and then waits for no reader.
//
// Threads: one thread. Locks of one process nest; the outermost decides.
// Errors: std::system_error if the directory cannot be locked.
class PidFilesLock {
 public:
  enum class Use { read, write };

  explicit PidFilesLock(Use use);
  ~PidFilesLock();
  PidFilesLock(const PidFilesLock&) = delete;
  PidFilesLock& operator=(const PidFilesLock&) = delete;
};

}  // namespace sandbox
