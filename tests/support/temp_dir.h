#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include "sandbox/text_file.h"

namespace support {

// A temporary directory. The destructor removes it, or prints its name if the test failed.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const boost::filesystem::path& path() const { return m_path; }

 private:
  boost::filesystem::path m_path;
};

using sandbox::read_text;
using sandbox::write_text;

// Writes an executable shell script; the first line is added.
void write_script(const boost::filesystem::path& file, const std::string& text);

}  // namespace support
