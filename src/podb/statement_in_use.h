#pragma once

#include <map>

#include <SQLiteCpp/SQLiteCpp.h>

#include "podb/sqlite_connection.h"
#include "status/status.h"

namespace database {

// The status that `operation` returns, or that of the SQLite::Exception that it throws.
template <class Operation>
cr_status_t status_of(Operation operation) {
  try {
    return operation();
  } catch (const SQLite::Exception& error) {
    return database_status(error);
  }
}

// A statement that is prepared once, kept by its text's address, and reset after each use: a
// statement that stays on its row keeps its lock.
class StatementInUse {
 public:
  StatementInUse(SQLite::Database& database, std::map<const char*, SQLite::Statement>& prepared,
                 const char* sql)
      : m_statement(prepared.try_emplace(sql, database, sql).first->second) {}
  ~StatementInUse() { (void)m_statement.tryReset(); }  // repeats the error of a step that threw
  StatementInUse(const StatementInUse&) = delete;
  StatementInUse& operator=(const StatementInUse&) = delete;

  SQLite::Statement* operator->() { return &m_statement; }
  SQLite::Statement& operator*() { return m_statement; }

 private:
  SQLite::Statement& m_statement;
};

}  // namespace database
