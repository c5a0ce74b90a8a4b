#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include "config/inifile.h"

namespace cr {

// The section and the entries of the configuration that name the storage's directories.
extern const std::string k_storage_section;
extern const std::string k_root_dir_entry;
extern const std::string k_log_dir_entry;

// The section of the registry file that names the configuration file.
extern const std::string k_registry_key;

// The registry file that the environment names, or else the system's: at most 4095 characters.
std::string registry_file();

// The storage's configuration: section -> entry -> value.
//
// Threads: any; constant after loading.
// Errors: Cr_ErrnoException, k_status_entry_missing.
class Config {
 public:
  // Reads the registry file, whose section `pool_key` names the configuration file, and then that file.
  static Config init_from_ksregistry(const std::string& registry_file, const std::string& pool_key);

  // Sets `path` to the entry. If it is missing or empty, the error names entry, section and file.
  void get(const std::string& section, const std::string& entry,
           boost::filesystem::path& path) const;

  // The entry; empty if it is missing.
  std::string find(const std::string& section, const std::string& entry) const;

 private:
  explicit Config(const std::string& file) : m_inifile(file) { m_inifile.read(); }

  Inifile m_inifile;
};

// The storage's log directory. If the configuration names none that exists: empty, after a message on
// standard error.
boost::filesystem::path get_log_dir(const Config& config);

}  // namespace cr
