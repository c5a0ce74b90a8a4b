#include "cr/inifile.h"

#include <boost/property_tree/ini_parser.hpp>

#include "platform/file_kind.h"
#include "platform/status.h"

namespace cr {

namespace pt = boost::property_tree;

Inifile::Inifile(const std::string& file) : m_file(file) {
  if (platform::file_kind(file) == platform::FileKind::special) {
    throw Cr_ErrnoException(k_status_entry_missing, file + ": is no regular file");
  }
  try {
    pt::read_ini(file, m_tree);
  } catch (const pt::ini_parser_error& error) {
    throw Cr_ErrnoException(k_status_entry_missing, error.what());  // names the file and the line
  }
}

// Names may hold dots, so they are not read as the library's paths.
std::string Inifile::get(const std::string& section, const std::string& entry) const {
  const auto entries = m_tree.find(section);
  if (entries == m_tree.not_found()) return "";
  const auto value = entries->second.find(entry);
  return value == entries->second.not_found() ? "" : value->second.data();
}

std::string Inifile::get_path(const std::string& section, const std::string& entry) const {
  constexpr std::size_t k_longest = 4095;
  return get(section, entry).substr(0, k_longest).c_str();  // ends at a zero byte, as all paths
}

}  // namespace cr
