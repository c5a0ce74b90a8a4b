#include "platform/sql_like.h"

#include <sqlite3.h>

namespace platform {

bool sql_like(const std::string& pattern, const std::string& text) {
  return sqlite3_strlike(pattern.c_str(), text.c_str(), 0) == 0;
}

}  // namespace platform
