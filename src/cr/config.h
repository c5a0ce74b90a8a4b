#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include "config/inifile.h"

namespace cr {

// Where the configuration names the directories of the storage.
extern const std::string k_storage_section;
extern const std::string k_root_dir_entry;
extern const std::string k_log_dir_entry;

// What the registry file names the configuration file under.
extern const std::string k_registry_key;

// The registry file that the environment names, or else the system's.
std::string registry_file();

// The storage's configuration: section -> entry -> value.
//
// Threads: one thread; constant after loading.
// Errors: Cr_ErrnoException, k_status_entry_missing.
class Config {
 public:
  // Reads the registry file, which names the configuration file under `pool_key`, and then that
  // file.
  static Config init_from_ksregistry(const std::string& registry_file, const std::string& pool_key);

  // Sets `path` to the entry. Throws, naming entry, section and file, when it is missing or empty.
  void get(const std::string& section, const std::string& entry,
           boost::filesystem::path& path) const;

  // The entry, empty when it is missing.
  std::string find(const std::string& section, const std::string& entry) const;

 private:
  explicit Config(const std::string& file) : m_inifile(file) { m_inifile.read(); }

  Inifile m_inifile;
};

// The storage's log directory; empty, after a message on standard error, when the configuration
// names none that exists.
boost::filesystem::path get_log_dir(const Config& config);

}  // namespace cr
