#pragma once

#include <string>

namespace database {

// Whether SQLite's `text LIKE 'pattern'` holds: ASCII letters match in any case, "_" matches one
// character, "%" any number of them.
bool sql_like(const std::string& pattern, const std::string& text);

}  // namespace database
