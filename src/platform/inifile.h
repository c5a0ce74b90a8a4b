#pragma once

#include <cstddef>
#include <map>
#include <string>

// Section -> entry -> value, as an INI file holds them.
using InifileSections = std::map<std::string, std::map<std::string, std::string>>;

// Reading and writing INI files: sections in brackets, `entry=value` lines, comments behind `;` or
// `#` at the start of a line; blanks around names and values are dropped.
//
// Threads: each call opens and closes its file; calls on different files are independent.
// Errors: Cr_ErrnoException that names the file, and for a line that is none of section, entry,
// comment and blank its number.

// All of a file.
InifileSections InifileReadA(const std::string& file);

// One value, empty when the section or the entry is missing. At most `size` - 1 characters are
// stored in `buffer`, followed by a zero byte.
void InifileGetValueA(const std::string& file, const std::string& section, const std::string& entry,
                      char* buffer, std::size_t size);

// The same for a path.
void InifileGetPathA(const std::string& file, const std::string& section, const std::string& entry,
                     char* buffer, std::size_t size);

// Writes a file that holds this one entry, replacing what is there.
void InifileSaveNewA(const std::string& file, const std::string& section, const std::string& entry,
                     const std::string& value);

// Sets one entry of an existing file; comments are not kept.
void InifileSaveValueA(const std::string& file, const std::string& section,
                       const std::string& entry, const std::string& value);
