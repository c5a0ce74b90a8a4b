#include "cr/inifile.h"

#include <array>

namespace cr {

std::string Inifile::get_path(const std::string& section, const std::string& entry) const {
  std::array<char, 4096> buffer{};
  InifileGetPathA(m_file, section, entry, buffer.data(), buffer.size());
  return buffer.data();
}

void Inifile::save_new(const std::string& section, const std::string& entry,
                       const std::string& value) {
  InifileSaveNewA(m_file, section, entry, value);
}

void Inifile::save(const std::string& section, const std::string& entry, const std::string& value) {
  InifileSaveValueA(m_file, section, entry, value);
}

}  // namespace cr
