#include "tests/support/temp_dir.h"

#include <stdlib.h>

#include <iostream>
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

void write_script(const fs::path& file, const std::string& text) {
  sandbox::write_command(file, "#!/bin/sh\n" + text);
}

}  // namespace support
