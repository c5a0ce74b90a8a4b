#pragma once

#include <string>
#include <utility>

#include <boost/property_tree/ptree.hpp>

namespace cr {

// A configuration file: sections in brackets, `entry=value` lines, and comments that begin with `;`
// or `#`. Blanks around names and values are dropped.
//
// Threads: one, except for get and get_path.
// Errors: Cr_ErrnoException, naming the file.
class Inifile {
 public:
  explicit Inifile(std::string file) : m_file(std::move(file)) {}

  // Reads the file. An error also names the line that is none of section, entry, comment and blank.
  const Inifile& read();

  // The value; empty if the section or the entry is missing.
  std::string get(const std::string& section, const std::string& entry) const;

  // The value up to a zero byte, cut to 4095 characters.
  std::string get_path(const std::string& section, const std::string& entry) const;

  // Writes the file with this entry alone.
  void save_new(const std::string& section, const std::string& entry, const std::string& value);

  // Writes what was read or saved before, and this entry; comments are lost.
  void save(const std::string& section, const std::string& entry, const std::string& value);

  const std::string& file() const { return m_file; }

 private:
  std::string m_file;
  boost::property_tree::ptree m_tree;
};

}  // namespace cr
