#pragma once

#include <string>

#include <boost/property_tree/ptree.hpp>

namespace cr {

// What a configuration file holds: sections in brackets, `entry=value` lines, comments behind `;` or
// `#` at the start of a line; blanks around names and values are dropped.
//
// Threads: one thread; constant after construction.
class Inifile {
 public:
  // Reads the whole file.
  // Errors: Cr_ErrnoException that names the file, and for a line that is none of section, entry,
  //   comment and blank its number.
  explicit Inifile(const std::string& file);

  // A value; empty when the section or the entry is missing.
  std::string get(const std::string& section, const std::string& entry) const;

  // A path of at most 4095 characters; empty when the entry is missing.
  std::string get_path(const std::string& section, const std::string& entry) const;

  const std::string& file() const { return m_file; }

 private:
  std::string m_file;
  boost::property_tree::ptree m_tree;
};

}  // namespace cr
