#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "platform/podb.h"

namespace SQLite {
class Database;
class Statement;
}  // namespace SQLite

namespace platform {
struct BasenameRange;
class PODBCreation;
}  // namespace platform

// The SQLite database `po.db` of one policy directory.
//
// Threads: one thread at a time; several objects may work side by side.
// Ownership: owns the open file.
// Errors: a constructor throws Cr_ErrnoException, naming the file, when the file cannot be opened.
//   What is wrong inside the file shows as the status of the first operation on it.
class SQLitePODB : public PODB {
 public:
  enum class Access { read_only, read_write };

  // Creates nothing: a directory without `po.db` reads as an empty database, into which nothing can
  // be stored. Opened for writing, what a run that died left unfinished is rolled back.
  SQLitePODB(const std::string& catalog_root, const std::string& policy_dir,
             Access access = Access::read_only);

  // Opens for reading and writing; creates the policy directory and the database where they do not
  // exist, but not the catalog root. A crash on the way leaves either no database or a whole one.
  // What was created is taken away again with the object unless a transaction was committed to it.
  SQLitePODB(const boost::filesystem::path& catalog_root,
             const boost::filesystem::path& policy_dir);

  ~SQLitePODB() override;

  // Whether there was a database to open.
  bool is_there() const { return m_database != nullptr; }

  SQLitePODB(const SQLitePODB&) = delete;
  SQLitePODB& operator=(const SQLitePODB&) = delete;

  cr_status_t get_basenames(const BasenameVisitor& visitor) override;
  cr_status_t get_basenames_without(std::string_view prefix,
                                    const BasenameVisitor& visitor) override;
  cr_status_t get_basenames(std::vector<std::string>& names, const std::string& condition,
                            unsigned offset, unsigned limit) override;
  cr_status_t get(const std::string& basename, PO& po) override;

  // Hands the basenames in one range after the other to `visitor`, with the sizes of their POs, or with 0
  // where these are not wanted: the index alone is read then. Names that are no texts are left out. No
  // size is below 0 or above 2^53, so that sums fit.
  using SizeVisitor = std::function<void(std::string_view basename, std::uint64_t bytes)>;
  cr_status_t get_sizes_in(const std::vector<platform::BasenameRange>& ranges, bool with_sizes,
                           const SizeVisitor& visitor);
  cr_status_t put(const PO* po) override;
  cr_status_t put_new(const PO* po) override;
  cr_status_t remove(const std::string& basename) override;
  cr_status_t do_begin_transaction() override;
  cr_status_t do_commit_transaction() override;
  cr_status_t do_rollback_transaction() override;

  // Runs one SQL statement, in a transaction of its own unless one is open, and hands the first
  // column of each row of its result to `rows`, which may be null. Text behind the statement is an
  // error, and nothing runs then.
  cr_status_t exec_sql(const std::string& sql, const BasenameVisitor* rows);

  // The POs that the last successful exec_sql, put, put_new or remove inserted, changed or deleted.
  std::int64_t changed_rows() const;

 private:
  template <class Operation>
  static cr_status_t guarded(Operation operation);
  cr_status_t in_one_lock_cycle(const std::function<void()>& listing);
  cr_status_t check();
  cr_status_t put(const PO& po, std::unique_ptr<SQLite::Statement>& insert, const char* sql);
  bool holds_nothing();

  const Access m_access;
  const bool m_stores_commits_at_once = false;
  std::unique_ptr<platform::PODBCreation> m_creation;  // null once a transaction was committed
  std::unique_ptr<SQLite::Database> m_database;        // null when there is no file
  bool m_checked = false;
  std::unique_ptr<SQLite::Statement> m_get;
  std::unique_ptr<SQLite::Statement> m_put;
  std::unique_ptr<SQLite::Statement> m_put_new;
  std::unique_ptr<SQLite::Statement> m_remove;
};
