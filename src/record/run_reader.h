#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "podb/po_row.h"
#include "record/findings.h"

namespace SQLite {
class Column;
class Database;
class Statement;
}  // namespace SQLite

namespace record {

// Reads the record of one run, also of one that was killed or still goes on, as it was when the
// constructor ran. Writes nothing, and trusts neither the file nor its contents. The tables are in
// schema.cc.
//
// Threads: one. Memory does not grow with the record.
// Errors: everything throws Cr_ErrnoException, naming the file, if it is no record, has an unknown
//   version, or cannot be read.
class RunReader {
 public:
  // A row of a query; columns count from 0. SQLite converts types; NULL reads as "" or 0.
  class Row {
   public:
    explicit Row(SQLite::Statement& statement);
    ~Row();
    Row(const Row&) = delete;
    Row& operator=(const Row&) = delete;

    std::string text(std::size_t column) const;
    std::int64_t number(std::size_t column) const;
    std::uint64_t count(std::size_t column) const;  // 0 for a negative number
    bool is_null(std::size_t column) const;
    DirCounts counts(std::size_t first) const;
    // A saved PO, in the columns from `first` on.
    void po(std::size_t first, database::PORow& row) const;

   private:
    std::vector<SQLite::Column> m_columns;
  };
  // The rows of a query, for a caller that reads several queries side by side.
  class Cursor {
   public:
    Cursor(RunReader& reader, const std::string& query);
    ~Cursor();
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;

    // The next row, valid until the next call; null after the last.
    const Row* next();

   private:
    RunReader& m_reader;
    std::unique_ptr<SQLite::Statement> m_statement;
    std::unique_ptr<const Row> m_row;
  };
  using RowVisitor = std::function<void(const Row&)>;

  static constexpr std::int64_t k_all = -1;

  explicit RunReader(std::string file);
  ~RunReader();
  RunReader(const RunReader&) = delete;
  RunReader& operator=(const RunReader&) = delete;

  Run run();

  // Visits the first `most` rows of a query without a limit of its own.
  void rows(const std::string& query, const RowVisitor& visit, std::int64_t most = k_all);

  // The number of rows of "SELECT * FROM <from>".
  std::uint64_t count(const std::string& from);

 private:
  template <class Read>
  auto guarded(Read read);
  void require_record();

  const std::string m_file;
  std::unique_ptr<SQLite::Database> m_database;
};

}  // namespace record
