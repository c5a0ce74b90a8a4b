#pragma once

#include <functional>
#include <memory>
#include <string>

#include <boost/filesystem/path.hpp>

#include "platform/podb.h"

namespace SQLite {
class Database;
class Statement;
}  // namespace SQLite

// The SQLite database `po.db` of one policy directory.
//
// Threads: one thread at a time; several objects may work side by side.
// Ownership: owns the open file; closing never writes.
// Errors: a constructor throws Cr_ErrnoException, naming the file, when the file cannot be opened.
//   What is wrong inside the file shows as the status of the first operation on it.
class SQLitePODB : public PODB {
 public:
  // Opens for reading only, and creates nothing: a directory without `po.db` reads as an empty
  // database, into which nothing can be stored.
  SQLitePODB(const std::string& catalog_root, const std::string& policy_dir);

  // Opens for reading and writing; creates the policy directory and the database where they do not
  // exist. A crash on the way leaves either no database or a whole one.
  SQLitePODB(const boost::filesystem::path& catalog_root,
             const boost::filesystem::path& policy_dir);

  ~SQLitePODB() override;
  SQLitePODB(const SQLitePODB&) = delete;
  SQLitePODB& operator=(const SQLitePODB&) = delete;

  cr_status_t get_basenames(const BasenameVisitor& visitor) override;
  cr_status_t put(const PO* po) override;

  // A transaction that is not committed when the object is destroyed is rolled back.
  cr_status_t do_begin_transaction();
  cr_status_t do_commit_transaction();

 private:
  cr_status_t guarded(const std::function<cr_status_t()>& operation);
  cr_status_t list_basenames(const BasenameVisitor& visitor);
  cr_status_t check();

  std::unique_ptr<SQLite::Database> m_database;  // null when there is no file
  bool m_checked = false;
  std::unique_ptr<SQLite::Statement> m_put;
};
