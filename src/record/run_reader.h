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

// Reads the record of one run: whole, or what a run that was killed or still goes on has stored until
// now. Neither the file nor what it holds is trusted; nothing is written.
//
// All that is read is of the time of the constructor. The tables are in schema.cc.
// Threads: one thread. Memory does not depend on the record.
// Errors: the constructor and every function throw Cr_ErrnoException, naming the file, when it is no
//   record, has a newer version, or cannot be read.
class RunReader {
 public:
  // A row of a query, with its columns counted from 0. A column of another type than asked for reads as
  // SQLite converts it, NULL as an empty text or 0.
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
    // A PO that was saved, in the columns from there on.
    void po(std::size_t first, database::PORow& row) const;

   private:
    std::vector<SQLite::Column> m_columns;
  };
  // The rows of a query, one after the other, for what reads several queries side by side.
  class Cursor {
   public:
    Cursor(RunReader& reader, const std::string& query);
    ~Cursor();
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;

    // The next row, which is good until the next call; null after the last.
    const Row* next();

   private:
    RunReader& m_reader;
    std::unique_ptr<SQLite::Statement> m_statement;
    std::unique_ptr<const Row> m_row;
  };
  using RowVisitor = std::function<void(const Row&)>;

  // As many rows as there are.
  static constexpr std::int64_t k_all = -1;

  explicit RunReader(std::string file);
  ~RunReader();
  RunReader(const RunReader&) = delete;
  RunReader& operator=(const RunReader&) = delete;

  Run run();

  // Visits the first `most` rows of a query that has no limit of its own.
  void rows(const std::string& query, const RowVisitor& visit, std::int64_t most = k_all);

  // How many rows such a query has behind "FROM".
  std::uint64_t count(const std::string& from);

 private:
  template <class Read>
  auto guarded(Read read);
  void require_record();

  const std::string m_file;
  std::unique_ptr<SQLite::Database> m_database;
};

}  // namespace record
