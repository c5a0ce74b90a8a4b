#pragma once

#include <memory>

#include <SQLiteCpp/SQLiteCpp.h>

namespace database {

// A prepared statement in use. It is reset at the end: one that stays on its row keeps its lock.
class StatementInUse {
 public:
  StatementInUse(SQLite::Database& database, std::unique_ptr<SQLite::Statement>& statement,
                 const char* sql) {
    if (!statement) statement = std::make_unique<SQLite::Statement>(database, sql);
    m_statement = statement.get();
  }
  ~StatementInUse() {
    (void)m_statement->tryReset();  // repeats the error of the last step, which was thrown then
  }
  StatementInUse(const StatementInUse&) = delete;
  StatementInUse& operator=(const StatementInUse&) = delete;

  SQLite::Statement* operator->() { return m_statement; }
  SQLite::Statement& operator*() { return *m_statement; }

 private:
  SQLite::Statement* m_statement;
};

}  // namespace database
