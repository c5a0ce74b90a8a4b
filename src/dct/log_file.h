#pragma once

#include <atomic>
#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>

#include "files/append_file.h"

namespace dct::util {

// A log or report of one task: whole strings, each with its own line end, appended to a file.
//
// Threads: write may be called from any thread; strings never interleave.
// Errors: Cr_ErrnoException, naming the path, if the file cannot be opened. A string that cannot be
//   written goes to standard error, and the run goes on: a report must not stop a change of the metadata
//   half-way.
class LogFile {
 public:
  explicit LogFile(const boost::filesystem::path& path);

  void write(const std::string& text);

  const std::string& path() const { return m_file.path(); }

 private:
  files::AppendFile m_file;
  std::atomic<bool> m_failed{false};  // the run log notes only the first failure
};

// Resets `out` to the log file at `path`. If opening throws, `out` is unchanged.
void make_LogFile(const boost::filesystem::path& path, boost::shared_ptr<LogFile>& out);

}  // namespace dct::util
