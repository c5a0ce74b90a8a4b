#pragma once

#include <map>

#include <SQLiteCpp/SQLiteCpp.h>

namespace database {

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
