#include "cr/config.h"

#include <stdlib.h>

#include <boost/filesystem/operations.hpp>

#include "dct/filesystem.h"
#include "dct/report_error.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace cr {

const std::string k_registry_key = "StoragePoolAuthority";
const std::string k_storage_section = "Storage";
const std::string k_root_dir_entry = "RootDir";
const std::string k_log_dir_entry = "LogDir";

namespace {

const std::string k_config_file_entry = "ConfigFilePath";

[[noreturn]] void throw_missing(const std::string& text) {
  throw Cr_ErrnoException(k_status_entry_missing, text);
}

}  // namespace

std::string registry_file() {
  constexpr std::size_t k_longest = 4095;
  const char* name = ::getenv("KSREGISTRY");
  const std::string file = name != nullptr && *name != '\0' ? name : "/etc/ksregistry.cfg";
  return file.substr(0, k_longest);
}

Config Config::init_from_ksregistry(const std::string& registry_file, const std::string& pool_key) {
  if (!dct::filesystem::exists(registry_file)) {
    throw_missing("Failed to locate the ksregistry path: " + registry_file + ".");
  }
  const std::string file = Inifile(registry_file).read().get_path(pool_key, k_config_file_entry);
  if (file.empty()) {
    throw_missing("Failed to locate the ConfigFilePath entry for section " + pool_key + " in " +
                  registry_file + " .");
  }
  if (!dct::filesystem::exists(file)) throw_missing("The file " + file + " does not exist.");
  return Config(file);
}

void Config::get(const std::string& section, const std::string& entry, fs::path& path) const {
  const std::string value = find(section, entry);
  if (value.empty()) {
    throw_missing("Failed to locate the " + entry + " entry for section " + section + " in " +
                  m_inifile.file() + " .");
  }
  path = value;
}

std::string Config::find(const std::string& section, const std::string& entry) const {
  return m_inifile.get(section, entry);
}

fs::path get_log_dir(const Config& config) {
  fs::path log_dir = config.find(k_storage_section, k_log_dir_entry);
  boost::system::error_code error;
  if (fs::is_directory(log_dir, error)) return log_dir;
  dct::report_error("Failed to locate the <dedupe_storage>/log directory\n\t" + log_dir.string() +
                    "\n");
  return {};
}

}  // namespace cr
