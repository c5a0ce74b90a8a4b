#pragma once

#include <cstdio>
#include <memory>

#include <boost/filesystem/path.hpp>
#include <boost/interprocess/sync/file_lock.hpp>
#include <boost/scoped_ptr.hpp>

namespace util {

// Keeps two runs on one storage apart: a marker file, and an exclusive record lock on it.
//
// The file holds the process id. Closing any descriptor of a file drops every record lock that the
// process has on it, so the stream that wrote the id stays open for as long as the lock is held.
//
// Threads: one thread.
// Ownership: owns the file once the lock was obtained; the destructor removes it, also from a directory
//   that was renamed or unmounted meanwhile, unless another file has its name by then, and then
//   releases the lock. One that failed before removes the file unless another process holds the lock.
class FileLock {
 public:
  // Takes the lock at `path`, without waiting.
  //
  // Errors: Cr_ErrnoException with k_status_lock_file_exists when anything is at `path`, with
  //   k_status_lock_held when another process holds the lock, both with an empty text;
  //   std::system_error or boost::interprocess::interprocess_exception for any other failure.
  //   A file that another run holds is left in place.
  static std::unique_ptr<FileLock> init(const boost::filesystem::path& path);

  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  explicit FileLock(const boost::filesystem::path& path);

  void create();
  void lock();
  void write_process_id();
  void remove() noexcept;

  struct CloseStream {
    void operator()(std::FILE* stream) const { (void)std::fclose(stream); }
  };

  const boost::filesystem::path m_path;
  int m_directory = -1;  // that the file lies in, wherever that is found by then
  std::unique_ptr<std::FILE, CloseStream> m_stream;
  boost::scoped_ptr<boost::interprocess::file_lock> m_lock;
  bool m_obtained = false;
};

}  // namespace util
