#pragma once

#include <string>
#include <string_view>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

namespace files {

// Appends whole strings to a text file, which is made with mode 0640 if it does not exist.
//
// Threads: append may be called from any thread; strings never interleave.
// Ownership: owns its descriptor, which children of the process do not inherit.
// Errors: Cr_ErrnoException, naming the path, if the file cannot be opened or is neither a regular
//   file nor a character device.
class AppendFile {
 public:
  explicit AppendFile(const std::string& path);
  ~AppendFile();
  AppendFile(const AppendFile&) = delete;
  AppendFile& operator=(const AppendFile&) = delete;

  // On failure the file is unchanged, errno is set, and the result is false.
  bool append(std::string_view text);

  const std::string& path() const { return m_path; }

 private:
  const std::string m_path;
  boost::mutex m_mutex;
  int m_descriptor BOOST_THREAD_GUARDED_BY(m_mutex);
};

}  // namespace files
