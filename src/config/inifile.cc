#include "config/inifile.h"

#include <algorithm>

#include <boost/algorithm/string/trim.hpp>
#include <boost/property_tree/ini_parser.hpp>

#include "files/file_kind.h"
#include "status/status.h"

namespace cr {

namespace pt = boost::property_tree;

namespace {

template <class Operation>
void guarded(Operation operation) {
  try {
    operation();
  } catch (const pt::ini_parser_error& error) {
    throw Cr_ErrnoException(k_status_entry_missing, error.what());  // names the file and the line
  }
}

pt::ptree& child(pt::ptree& tree, const std::string& name) {
  const auto found = tree.find(name);
  if (found != tree.not_found()) return found->second;
  return tree.push_back({name, pt::ptree()})->second;
}

}  // namespace

const Inifile& Inifile::read() {
  if (files::file_kind(m_file) == files::FileKind::special) {
    throw Cr_ErrnoException(k_status_entry_missing, m_file + ": is no regular file");
  }
  guarded([this] { pt::read_ini(m_file, m_tree); });
  return *this;
}

// Not by the library's paths: names may contain dots.
std::string Inifile::get(const std::string& section, const std::string& entry) const {
  const auto entries = m_tree.find(section);
  if (entries == m_tree.not_found()) return "";
  const auto value = entries->second.find(entry);
  return value == entries->second.not_found() ? "" : value->second.data();
}

std::string Inifile::get_path(const std::string& section, const std::string& entry) const {
  constexpr std::size_t k_longest = 4095;
  const std::string path = get(section, entry);
  return path.substr(0, std::min(path.find('\0'), k_longest));
}

void Inifile::save_new(const std::string& section, const std::string& entry,
                       const std::string& value) {
  m_tree.clear();
  save(section, entry, value);
}

void Inifile::save(const std::string& section, const std::string& entry, const std::string& value) {
  const bool is_one_line = value.find_first_of("\r\n") == std::string::npos;
  // Such a value would be read as another one.
  if (!is_one_line || boost::algorithm::trim_copy(value) != value) {
    throw Cr_ErrnoException(k_status_malformed,
                            "the value '" + value + "' cannot be stored in " + m_file);
  }
  child(child(m_tree, section), entry).data() = value;
  guarded([this] { pt::write_ini(m_file, m_tree); });
}

}  // namespace cr
