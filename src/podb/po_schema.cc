#include "podb/po_schema.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <string_view>

#include <SQLiteCpp/SQLiteCpp.h>
#include <sqlite3.h>

#include "podb/sqlite_connection.h"

namespace database {

namespace {

constexpr const char* k_po_schema =
    "CREATE TABLE po (basename TEXT NOT NULL UNIQUE, poid TEXT NOT NULL, size INTEGER NOT NULL, "
    "mtime INTEGER NOT NULL, record BLOB NOT NULL)";

// The statement without comments, blanks, quotes and letter case. Two statements that differ in
// nothing else make the same table.
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

// Such as the tables of ANALYZE.
bool is_of_sqlite(const std::string& sql) {
  return sql.rfind("CREATE TABLE sqlite_", 0) == 0;
}

bool is_our_table(const std::string& sql) {
  static const std::string ours = reduced(k_po_schema);
  return reduced(sql) == ours;
}

// The first page holds the file's header and, unless it is long, the schema.
using FirstPage = std::array<char, 4096>;

// The parts of the first page that define the schema: the page size, the unused size at its end, the
// number and places of the entries, and the entries. The space between may hold anything.
struct SchemaParts {
  explicit SchemaParts(const FirstPage& page) {
    constexpr std::size_t k_page_size = 16;
    constexpr std::size_t k_unused_size = 20;
    constexpr std::size_t k_tree = 100;
    constexpr std::size_t k_entry_count = 3;
    constexpr std::size_t k_entries_begin = 5;
    constexpr std::size_t k_tree_header = 8;
    constexpr std::size_t k_place = 2;
    const std::string_view all(page.data(), page.size());
    const auto number_at = [&](std::size_t at) {
      return std::size_t{static_cast<unsigned char>(all[at])} * 256 +
             static_cast<unsigned char>(all[at + 1]);
    };
    page_size = all.substr(k_page_size, 2);
    unused_size = all.substr(k_unused_size, 1);
    tree = all.substr(k_tree, k_tree_header + k_place * number_at(k_tree + k_entry_count));
    entries = all.substr(std::min(number_at(k_tree + k_entries_begin), all.size()));
  }
  bool operator==(const SchemaParts& other) const {
    return page_size == other.page_size && unused_size == other.unused_size && tree == other.tree &&
           entries == other.entries;
  }

  std::string_view page_size;
  std::string_view unused_size;
  std::string_view tree;
  std::string_view entries;
};

std::string make_empty_database() {
  SQLite::Database database(":memory:", SQLite::OPEN_READWRITE | SQLite::OPEN_NOMUTEX);
  database.exec("PRAGMA page_size = " + std::to_string(sizeof(FirstPage)));
  database.exec(k_po_schema);
  database.exec("PRAGMA user_version = " + std::to_string(k_po_version));
  sqlite3_int64 size = 0;
  const std::unique_ptr<unsigned char, void (*)(void*)> bytes(
      sqlite3_serialize(database.getHandle(), "main", &size, 0), &sqlite3_free);
  if (!bytes || static_cast<std::size_t>(size) < sizeof(FirstPage)) {
    throw SQLite::Exception("no empty database could be made", SQLITE_NOMEM);
  }
  return {bytes.get(), bytes.get() + size};
}

FirstPage first_page_of_ours() {
  FirstPage page{};
  std::copy_n(empty_po_database().begin(), page.size(), page.begin());
  return page;
}

// Whether the schema is what SQLite makes of our statement, byte for byte. True for nearly every
// database, and much cheaper than a statement. Requires a read lock.
bool has_our_bytes(SQLite::Database& database) {
  static const FirstPage ours = first_page_of_ours();
  FirstPage page{};
  read_beginning(database, page.data(), page.size());
  return SchemaParts(page) == SchemaParts(ours);
}

}  // namespace

const std::string& empty_po_database() {
  static const std::string bytes = make_empty_database();
  return bytes;
}

POVersion::POVersion(SQLite::Database& database)
    : m_statement(std::make_unique<SQLite::Statement>(database, "PRAGMA user_version")) {
  if (m_statement->executeStep()) m_number = m_statement->getColumn(0).getInt();
}

POVersion::~POVersion() = default;

cr_status_t check_po_schema(SQLite::Database& database, const POVersion& version) {
  if (version.number() > k_po_version) return k_status_db_newer;
  if (has_our_bytes(database)) return k_status_ok;
  // SQLite checks an object's kind and name against its statement, letter case aside. Only the
  // indexes of UNIQUE have no statement.
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

}  // namespace database
