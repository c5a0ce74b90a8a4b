#pragma once

#include <string>

#include "platform/inifile.h"

namespace cr {

// A handle on one configuration file.
//
// Threads: one thread.
// Errors: Cr_ErrnoException, naming the file and the line, for a file that cannot be read.
class Inifile {
 public:
  explicit Inifile(const std::string& file) : m_file(file) {}

  // A path of at most 4095 characters; empty when the entry is missing.
  std::string get_path(const std::string& section, const std::string& entry) const;

  InifileSections load() const { return InifileReadA(m_file); }

  // Writes the file anew with this one entry.
  void save_new(const std::string& section, const std::string& entry, const std::string& value);

  // Sets one entry.
  void save(const std::string& section, const std::string& entry, const std::string& value);

 private:
  const std::string m_file;
};

}  // namespace cr
