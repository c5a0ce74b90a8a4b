#pragma once

#include <string>

namespace database {

// Whether `text LIKE 'pattern'` holds for the database, by its own comparison: ASCII letters without
// regard to case, "_" for any character, "%" for any number of them.
// Threads: may be called from any thread.
bool sql_like(const std::string& pattern, const std::string& text);

}  // namespace database
