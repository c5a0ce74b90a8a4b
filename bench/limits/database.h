#pragma once

#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace limits {

// Configures SQLite for threads that share nothing. Call it first.
void start_sqlite();

// A database file, used by one thread.
// Errors: std::runtime_error with SQLite's message.
class Database {
 public:
  enum class Mode { read, write, create };

  Database(const std::string& file, Mode mode);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Runs statements without result rows.
  void exec(const std::string& sql);

  sqlite3* handle() const { return m_handle; }

 private:
  sqlite3* m_handle = nullptr;
};

// A prepared statement.
// Errors: as Database.
class Statement {
 public:
  Statement(Database& database, const std::string& sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // Binds the first parameter; the text must live until the next bind.
  void bind(std::string_view text);

  // Binds the columns of the other statement's row to the parameters, in their order.
  void bind_row(const Statement& other);

  // Whether there is a row; without one the statement can be run again.
  bool step();
  void reset();

  std::string_view text(int column) const;

 private:
  sqlite3* m_database;
  sqlite3_stmt* m_handle = nullptr;
};

}  // namespace limits
