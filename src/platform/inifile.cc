#include "platform/inifile.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include "platform/file_kind.h"
#include "platform/status.h"

namespace {

namespace pt = boost::property_tree;

pt::ptree read(const std::string& file) {
  if (platform::file_kind(file) == platform::FileKind::special) {
    throw Cr_ErrnoException(k_status_entry_missing, file + ": is no regular file");
  }
  try {
    pt::ptree tree;
    pt::read_ini(file, tree);
    return tree;
  } catch (const pt::ini_parser_error& error) {
    throw Cr_ErrnoException(k_status_entry_missing, error.what());  // names the file and the line
  }
}

void write(const std::string& file, const pt::ptree& tree) {
  try {
    pt::write_ini(file, tree);
  } catch (const pt::ini_parser_error& error) {
    throw Cr_ErrnoException(k_status_entry_missing, error.what());
  }
}

// Section and entry names may hold dots, so they are never read as the tree library's paths.
pt::ptree& child(pt::ptree& tree, const std::string& name) {
  const auto found = tree.find(name);
  if (found != tree.not_found()) return found->second;
  return tree.push_back({name, pt::ptree()})->second;
}

void refuse_unreadable(const std::string& file, const std::string& value) {
  const bool line_end = value.find_first_of("\r\n") != std::string::npos;
  const std::string blanks = " \t";
  const bool blank_at_end = !value.empty() && (blanks.find(value.front()) != std::string::npos ||
                                               blanks.find(value.back()) != std::string::npos);
  if (line_end || blank_at_end) {
    throw Cr_ErrnoException(k_status_malformed,
                            "the value '" + value + "' cannot be stored in " + file);
  }
}

}  // namespace

InifileSections InifileReadA(const std::string& file) {
  InifileSections sections;
  for (const auto& [section, entries] : read(file)) {
    for (const auto& [entry, value] : entries) sections[section][entry] = value.data();
  }
  return sections;
}

void InifileGetValueA(const std::string& file, const std::string& section, const std::string& entry,
                      char* buffer, std::size_t size) {
  const std::string value = InifileReadA(file)[section][entry];
  buffer[value.copy(buffer, size - 1)] = '\0';
}

void InifileGetPathA(const std::string& file, const std::string& section, const std::string& entry,
                     char* buffer, std::size_t size) {
  InifileGetValueA(file, section, entry, buffer, size);
}

void InifileSaveNewA(const std::string& file, const std::string& section, const std::string& entry,
                     const std::string& value) {
  refuse_unreadable(file, value);
  pt::ptree tree;
  child(child(tree, section), entry).data() = value;
  write(file, tree);
}

void InifileSaveValueA(const std::string& file, const std::string& section,
                       const std::string& entry, const std::string& value) {
  refuse_unreadable(file, value);
  pt::ptree tree = read(file);
  child(child(tree, section), entry).data() = value;
  write(file, tree);
}
