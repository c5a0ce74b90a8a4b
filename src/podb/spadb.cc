#include "podb/spadb.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <boost/algorithm/string/replace.hpp>

#include "files/storage_layout.h"
#include "podb/sqlite_connection.h"

namespace SpaDB {

namespace {

std::string quoted(const std::string& name) {
  return "\"" + boost::algorithm::replace_all_copy(name, "\"", "\"\"") + "\"";
}

std::string database_file(const std::string& storage_root) {
  return storage_root + "/" + layout::k_spa_database;
}

}  // namespace

CTable::CTable(SQLite::Database& database, std::string name)
    : m_database(database), m_name(std::move(name)) {}

CTable::~CTable() = default;

cr_status_t CTable::ListRecordsStart() {
  return database::status_of([this] {
    m_listing = std::make_unique<SQLite::Statement>(m_database, "SELECT * FROM " + quoted(m_name));
    return k_status_ok;
  });
}

cr_status_t CTable::ListRecordsNext(std::vector<CColumn>& record) {
  record.clear();
  return database::status_of([&] {
    if (!m_listing->executeStep()) return k_status_end_of_iteration;
    for (int i = 0; i < m_listing->getColumnCount(); ++i) {
      record.emplace_back(m_listing->getColumnName(i), m_listing->getColumn(i).getString());
    }
    return k_status_ok;
  });
}

CSpaDatabase::CSpaDatabase() = default;
CSpaDatabase::~CSpaDatabase() = default;

CSpaDatabase& CSpaDatabase::Instance() {
  static CSpaDatabase database;
  return database;
}

cr_status_t CSpaDatabase::open(const std::string& storage_root) {
  m_database.reset();
  try {
    auto database = database::open_database(database_file(storage_root), SQLite::OPEN_READONLY);
    return database::status_of([&] {
      const cr_status_t header = database::check_file_header(*database);
      if (header == k_status_ok) m_database = std::move(database);
      return header;
    });
  } catch (const Cr_ErrnoException& error) {
    return error.GetStatus();
  }
}

std::unique_ptr<CTable> CSpaDatabase::GetTable(const std::string& name) {
  if (!m_database) return nullptr;
  try {
    // Not a view, which could run any statement.
    SQLite::Statement tables(*m_database,
                             "SELECT 1 FROM sqlite_schema WHERE type = 'table' AND name = ?");
    tables.bind(1, name);
    if (!tables.executeStep()) return nullptr;
    return std::make_unique<CTable>(*m_database, name);
  } catch (const SQLite::Exception&) {
    return nullptr;
  }
}

void create_spa_database(const std::string& storage_root,
                         const std::vector<std::string>& event_strings) {
  const std::string file = database_file(storage_root);
  const auto database = database::open_database(file, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  try {
    SQLite::Transaction transaction(*database);
    database->exec(
        "CREATE TABLE events (id INTEGER PRIMARY KEY, eventtime INTEGER NOT NULL, "
        "eventstring TEXT NOT NULL)");
    for (const std::string& text : event_strings) {
      SQLite::Statement insert(*database,
                               "INSERT INTO events (eventtime, eventstring) "
                               "VALUES (strftime('%s', 'now'), ?)");
      insert.bind(1, text);
      insert.exec();
    }
    transaction.commit();
  } catch (const SQLite::Exception& error) {
    throw Cr_ErrnoException(database::database_status(error), "could not create " + file,
                            error.what());
  }
}

}  // namespace SpaDB
