#include "platform/po_schema.h"

#include <algorithm>
#include <cctype>
#include <string>

#include <SQLiteCpp/SQLiteCpp.h>

namespace platform {

const char* const k_po_schema =
    "CREATE TABLE po (basename TEXT NOT NULL UNIQUE, poid TEXT NOT NULL, size INTEGER NOT NULL, "
    "mtime INTEGER NOT NULL, record BLOB NOT NULL)";

namespace {

// The statement without comments, blanks, quotes and letter case, which is all that can differ
// between two ways to write the same table; whatever else differs makes another table.
std::string reduced(const std::string& sql) {
  std::string text;
  for (std::size_t i = 0; i < sql.size(); ++i) {
    const auto c = static_cast<unsigned char>(sql[i]);
    if (sql.compare(i, 2, "--") == 0) {
      i = std::min(sql.find('\n', i), sql.size());
    } else if (sql.compare(i, 2, "/*") == 0) {
      i = std::min(sql.find("*/", i + 2), sql.size() - 1) + 1;
    } else if (std::isspace(c) == 0 && c != '"' && c != '`' && c != '[' && c != ']') {
      text += static_cast<char>(std::tolower(c));
    }
  }
  return text;
}

// Whether it makes one of SQLite's own tables, for statistics and the like.
bool is_of_sqlite(const std::string& sql) {
  return sql.rfind("CREATE TABLE sqlite_", 0) == 0;
}

bool is_our_table(const std::string& sql) {
  if (sql == k_po_schema) return true;  // decides for nearly every database
  static const std::string ours = reduced(k_po_schema);
  return reduced(sql) == ours;
}

}  // namespace

cr_status_t check_po_schema(SQLite::Database& database) {
  SQLite::Statement version(database, "PRAGMA user_version");
  if (version.executeStep() && version.getColumn(0).getInt() > k_po_version) {
    return k_status_db_newer;
  }
  // SQLite holds an object's kind and name, letter case aside, against its statement. Those without
  // one are the indexes behind UNIQUE.
  SQLite::Statement objects(database, "SELECT name, sql FROM sqlite_schema");
  bool found = false;
  while (objects.executeStep()) {
    const SQLite::Column statement = objects.getColumn(1);
    if (statement.isNull()) continue;
    const std::string sql = statement.getString();
    if (is_of_sqlite(sql)) continue;
    if (objects.getColumn(0).getString() != "po" || !is_our_table(sql)) return k_status_db_foreign;
    found = true;
  }
  return found ? k_status_ok : k_status_db_foreign;
}

}  // namespace platform
