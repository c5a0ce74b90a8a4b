#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "tests/support/temp_dir.h"

namespace support {

// What a program left behind when it ended.
struct Ended {
  int exit_status = -1;  // -1 when a signal ended it
  int signal = 0;
  std::string out;
  std::string err;
};

// A program that runs beside the test, with its output in files.
class Child {
 public:
  using Environment = std::map<std::string, std::string>;

  // Starts it with the test's environment and `environment` on top.
  explicit Child(const std::vector<std::string>& arguments, const Environment& environment = {});

  void send(int signal) const;

  // What it has written to standard error so far.
  std::string err() const;

  Ended wait();

  pid_t pid() const { return m_pid; }

 private:
  TempDir m_dir;
  pid_t m_pid;
};

// Runs a program to its end.
Ended run(const std::vector<std::string>& arguments, const Child::Environment& environment = {});

// Runs statements on a database with the sqlite3 command, and returns what it printed.
std::string sqlite(const boost::filesystem::path& file, const std::string& statements);

}  // namespace support
