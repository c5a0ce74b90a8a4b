#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "status/status.h"

namespace SQLite {
class Database;
class Statement;
}  // namespace SQLite

namespace SpaDB {

// One value of a record: the name of its column and its text.
class CColumn {
 public:
  CColumn(std::string name, std::string data) : m_name(std::move(name)), m_data(std::move(data)) {}

  const std::string& name() const { return m_name; }
  const std::string& data() const { return m_data; }

 private:
  std::string m_name;
  std::string m_data;
};

// A table of the SPA database, which must outlive it. For one thread at a time.
class CTable {
 public:
  CTable(SQLite::Database& database, std::string name);
  ~CTable();
  CTable(const CTable&) = delete;
  CTable& operator=(const CTable&) = delete;

  // Starts a listing of all records, with all columns. Returns 0 or a status.
  cr_status_t ListRecordsStart();

  // Sets `record` to the next record. Returns 0, k_status_end_of_iteration after the last one, or
  // the status of a failure, which ends the listing early.
  cr_status_t ListRecordsNext(std::vector<CColumn>& record);

 private:
  SQLite::Database& m_database;
  const std::string m_name;
  std::unique_ptr<SQLite::Statement> m_listing;
};

// The SPA database of one storage, opened read-only and never created. For one thread at a time.
class CSpaDatabase {
 public:
  static CSpaDatabase& Instance();

  // Opens `<storage_root>/spa.db` in place of one that was open. Returns 0 or a status.
  cr_status_t open(const std::string& storage_root);

  // The table of that name, valid until the next open. Null if no database is open, or if it cannot
  // be read or has no such table.
  std::unique_ptr<CTable> GetTable(const std::string& name);

  CSpaDatabase(const CSpaDatabase&) = delete;
  CSpaDatabase& operator=(const CSpaDatabase&) = delete;

 private:
  CSpaDatabase();
  ~CSpaDatabase();

  std::unique_ptr<SQLite::Database> m_database;
};

// Makes the SPA database of a new storage, with one event for each text.
// Errors: Cr_ErrnoException, naming the file.
void create_spa_database(const std::string& storage_root,
                         const std::vector<std::string>& event_strings);

}  // namespace SpaDB
