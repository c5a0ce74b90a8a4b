#include "sandbox/text_file.h"

#include <cerrno>
#include <fstream>
#include <iterator>

#include <boost/filesystem/operations.hpp>

#include "status/status.h"

namespace fs = boost::filesystem;

namespace sandbox {

std::string read_text(const fs::path& file) {
  std::ifstream stream(file.string(), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void write_text(const fs::path& file, const std::string& text, std::ios::openmode mode) {
  fs::create_directories(file.parent_path());
  std::ofstream stream(file.string(), std::ios::binary | mode);
  if (!(stream << text).flush()) {
    throw Cr_ErrnoException(errno, "could not write " + file.string());
  }
}

void write_command(const fs::path& file, const std::string& text) {
  write_text(file, text);
  fs::permissions(file, fs::add_perms | fs::owner_exe | fs::group_exe | fs::others_exe);
}

}  // namespace sandbox
