#pragma once

#include <string>
#include <utility>

#include <boost/property_tree/ptree.hpp>

namespace cr {

// A configuration file: sections in brackets, `entry=value` lines, lines of comment that begin with `;`
// or `#`; blanks around names and values are dropped.
//
// Threads: one thread, but for get and get_path.
// Errors: Cr_ErrnoException that names the file.
class Inifile {
 public:
  explicit Inifile(std::string file) : m_file(std::move(file)) {}

  // Reads the whole file. An error names the number of a line that is none of section, entry, comment
  // and blank.
  const Inifile& read();

  // A value that was read; empty when the section or the entry is missing.
  std::string get(const std::string& section, const std::string& entry) const;

  // A path of at most 4095 characters; empty when the entry is missing.
  std::string get_path(const std::string& section, const std::string& entry) const;

  // Writes the file with this one entry.
  void save_new(const std::string& section, const std::string& entry, const std::string& value);

  // Writes what was read or saved before, with this entry; comments are not kept.
  void save(const std::string& section, const std::string& entry, const std::string& value);

  const std::string& file() const { return m_file; }

 private:
  std::string m_file;
  boost::property_tree::ptree m_tree;
};

}  // namespace cr
