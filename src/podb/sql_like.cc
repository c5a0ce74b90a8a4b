#include "podb/sql_like.h"

#include <sqlite3.h>

namespace database {

bool sql_like(const std::string& pattern, const std::string& text) {
  return sqlite3_strlike(pattern.c_str(), text.c_str(), 0) == 0;
}

}  // namespace database
