#include "bench/limits/database.h"

#include <sqlite3.h>

#include <stdexcept>

namespace limits {

namespace {

void require(int result, sqlite3* database) {
  if (result != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(database));
}

int open_flags(Database::Mode mode) {
  switch (mode) {
    case Database::Mode::read:
      return SQLITE_OPEN_READONLY;
    case Database::Mode::write:
      return SQLITE_OPEN_READWRITE;
    default:
      return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  }
}

}  // namespace

void start_sqlite() {
  require(sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0), nullptr);
}

Database::Database(const std::string& file, Mode mode) {
  const int flags = open_flags(mode) | SQLITE_OPEN_NOMUTEX;
  const int result = sqlite3_open_v2(file.c_str(), &m_handle, flags, nullptr);
  if (result == SQLITE_OK) return;
  sqlite3_close(m_handle);
  throw std::runtime_error(file + ": " + sqlite3_errstr(result));
}

Database::~Database() {
  sqlite3_close(m_handle);
}

void Database::exec(const std::string& sql) {
  require(sqlite3_exec(m_handle, sql.c_str(), nullptr, nullptr, nullptr), m_handle);
}

Statement::Statement(Database& database, const std::string& sql) : m_database(database.handle()) {
  require(
      sqlite3_prepare_v2(m_database, sql.data(), static_cast<int>(sql.size()), &m_handle, nullptr),
      m_database);
}

Statement::~Statement() {
  sqlite3_finalize(m_handle);
}

void Statement::bind(std::string_view text) {
  require(sqlite3_bind_text(m_handle, 1, text.data(), static_cast<int>(text.size()), SQLITE_STATIC),
          m_database);
}

void Statement::bind_row(const Statement& other) {
  for (int i = 0; i < sqlite3_column_count(other.m_handle); ++i) {
    require(sqlite3_bind_value(m_handle, i + 1, sqlite3_column_value(other.m_handle, i)),
            m_database);
  }
}

bool Statement::step() {
  const int result = sqlite3_step(m_handle);
  if (result == SQLITE_ROW) return true;
  require(sqlite3_reset(m_handle), m_database);
  return false;
}

void Statement::reset() {
  require(sqlite3_reset(m_handle), m_database);
}

std::string_view Statement::text(int column) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(m_handle, column));
  return {text, static_cast<std::size_t>(sqlite3_column_bytes(m_handle, column))};
}

}  // namespace limits
