#include "tests/support/temp_dir.h"

#include <stdlib.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

namespace fs = boost::filesystem;

namespace support {

TempDir::TempDir() {
  std::string name = (fs::temp_directory_path() / "mdfixup-test.XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
  m_path = name;
}

TempDir::~TempDir() {
  if (testing::Test::HasFailure()) {
    std::cerr << "kept: " + m_path.string() + "\n";
    return;
  }
  boost::system::error_code ignored;
  fs::remove_all(m_path, ignored);
}

std::string read_text(const fs::path& file) {
  std::ifstream stream(file.string(), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void write_text(const fs::path& file, const std::string& text) {
  fs::create_directories(file.parent_path());
  std::ofstream stream(file.string(), std::ios::binary);
  if (!(stream << text).flush()) throw std::runtime_error("could not write " + file.string());
}

void write_script(const fs::path& file, const std::string& text) {
  write_text(file, "#!/bin/sh\n" + text);
  fs::permissions(file, fs::owner_all);
}

}  // namespace support
