#pragma once

#include <memory>
#include <string>

#include <boost/filesystem/path.hpp>

#include "lock/descriptor.h"

namespace util {

// Keeps two runs on one storage apart: a marker file that holds the process id, and an exclusive record
// lock on it.
//
// A process that closes any descriptor of a file loses all its record locks on the file. Nothing else
// in the process may open the file while the lock is held.
//
// Threads: one thread.
// Ownership: the destructor removes the file and then releases the lock. It finds the file through its
//   directory, which may have been renamed or unmounted since. It leaves a file that another run holds
//   or has made under the name.
class FileLock {
 public:
  // Takes the lock at `path`, without waiting.
  //
  // Errors: Cr_ErrnoException with an empty text: k_status_lock_file_exists if anything is at `path`,
  //   k_status_lock_held if another process holds the lock; for any other failure std::system_error
  //   or boost::interprocess::interprocess_exception.
  static std::unique_ptr<FileLock> init(const boost::filesystem::path& path);

  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  explicit FileLock(const boost::filesystem::path& path);

  void obtain();
  void write_process_id();

  const boost::filesystem::path m_path;
  const Descriptor m_directory;  // of the file
  const Descriptor m_file;       // not inherited by children
  bool m_is_obtained = false;
};

// Describes a lock file that blocks the run, in one line: the process that it names, whether that
// process is alive and is this program, and what to do.
// Threads: any. Do not call it while this process holds the lock: it would lose it.
std::string describe_lock_file(const boost::filesystem::path& path);

// Whether a lock file keeps runs out, and whether one of them holds it.
enum class LockState {
  none,   // no file
  held,   // by a run, on this host or, if the file system shows its lock, on another
  stale,  // by no run that this host can see
};

// Errors: std::system_error if the file cannot be looked at.
// Threads: as of describe_lock_file.
LockState lock_state(const boost::filesystem::path& path);

}  // namespace util
