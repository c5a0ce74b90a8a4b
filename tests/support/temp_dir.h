#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

namespace support {

// A directory of its own for one test; removed at its end, but kept and named when the test failed.
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

std::string read_text(const boost::filesystem::path& file);

// Writes the file anew, making its directory if need be.
void write_text(const boost::filesystem::path& file, const std::string& text);

// The same for a shell script that can be run.
void write_script(const boost::filesystem::path& file, const std::string& text);

}  // namespace support
