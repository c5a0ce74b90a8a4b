#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "podb/po_row.h"
#include "status/status.h"

class PO;

namespace SQLite {
class Database;
class Statement;
}  // namespace SQLite

namespace database {
struct BasenameRange;
class PODBCreation;
class POVersion;
}  // namespace database

// The path objects of one policy directory: the SQLite database `po.db`.
//
// Threads: one thread at a time; several objects may work side by side.
// Ownership: owns the open file.
// Errors: a constructor throws Cr_ErrnoException, naming the file, when the file cannot be opened.
//   Operations return a status, 0 for success. What is wrong inside the file shows as the status of
//   the first one.
class SQLitePODB {
 public:
  // Takes one basename; the text is valid during the call only.
  using BasenameVisitor = std::function<void(std::string_view)>;

  enum class Access { read_only, read_write };

  // Creates nothing: a directory without `po.db` reads as an empty database, into which nothing can
  // be stored. Opened for writing, what a run that died left unfinished is rolled back.
  SQLitePODB(const std::string& tree_root, const std::string& policy_dir,
             Access access = Access::read_only);

  // Opens for reading and writing; creates the policy directory and the database where they do not
  // exist, but not the catalog root. A crash on the way leaves either no database or a whole one.
  // What was created is taken away again with the object unless a transaction was committed to it.
  SQLitePODB(const boost::filesystem::path& tree_root, const boost::filesystem::path& policy_dir);

  ~SQLitePODB();

  // Whether there was a database to open.
  bool is_there() const { return m_database != nullptr; }

  SQLitePODB(const SQLitePODB&) = delete;
  SQLitePODB& operator=(const SQLitePODB&) = delete;

  // Hands every basename to `visitor`, in byte order, in one pass that holds no list of them: a
  // directory may have millions. On failure some names may have been handed out already; what was
  // made of them is not to be used. An exception of the visitor passes through.
  cr_status_t get_basenames(const BasenameVisitor& visitor);

  // The same for the basenames that do not begin with `prefix`: as cheap as these are few, however
  // many do. Of the others nothing is read, so that damage among them does not show.
  cr_status_t get_basenames_without(std::string_view prefix, const BasenameVisitor& visitor);

  // Sets `names` to the basenames for which an SQL condition holds, in byte order. Leaves `names`
  // empty on failure. The condition is part of the statement; whoever builds it quotes what it is
  // built from. BLOBs go to `blobs` if it is given; on failure it has no meaning.
  cr_status_t get_basenames(std::vector<std::string>& names, const std::string& condition,
                            std::vector<std::string>* blobs = nullptr);

  // What is listed of a PO.
  struct Entry {
    std::string_view basename;  // valid during the call only
    std::int64_t row;           // its number in the database, until somebody else writes to that
    std::uint64_t bytes;        // the PO's size, at most 2^53, so that sums fit
  };
  using EntryVisitor = std::function<void(const Entry&)>;

  // Hands the POs in one range of basenames after the other to `visitor`. Where sizes are not wanted they
  // are 0, and the index alone is read. Names that are no texts are left out.
  cr_status_t get_entries_in(const std::vector<database::BasenameRange>& ranges, bool with_sizes,
                             const EntryVisitor& visitor);

  // Fills `po` with the PO of that basename. k_status_db_no_such_po when there is none;
  // k_status_malformed when a column holds another type than its own, which a PO cannot carry.
  cr_status_t get(const std::string& basename, PO& po);

  // Stores `po`, replacing a PO of the same basename.
  cr_status_t put(const PO* po);

  // Stores `po` where none has its basename; k_status_handled, and nothing is stored, where one has.
  cr_status_t put_new(const PO* po);

  // The same of a PO as it is stored, whatever its columns hold.
  cr_status_t get_row(std::int64_t number, database::PORow& row);
  cr_status_t get_row(const database::Value& basename, database::PORow& row);
  cr_status_t put_new_row(const database::PORow& row);
  cr_status_t remove_row(std::int64_t number);
  cr_status_t remove_row(const database::Value& basename);

  // Removes the PO of that basename; k_status_db_no_such_po when there is none.
  cr_status_t remove(const std::string& basename);

  // What happens between begin and commit is stored as one. A database opened for reading only is
  // seen in one state throughout. A transaction that is neither committed nor rolled back when the
  // object is destroyed is rolled back; so is one whose commit failed. A roll back where none is
  // open does nothing.
  cr_status_t do_begin_transaction();
  cr_status_t do_commit_transaction();
  cr_status_t do_rollback_transaction();

  // Runs one SQL statement, in a transaction of its own unless one is open, and hands the first
  // column of each row of its result to `rows`, which may be null. Text behind the statement is an
  // error, and nothing runs then.
  cr_status_t exec_sql(const std::string& sql, const BasenameVisitor* rows);

  // What was made when it was opened, directories and database, outermost first. Nothing, once a
  // transaction was committed.
  std::vector<std::string> made() const;

 private:
  template <class Operation>
  static cr_status_t guarded(Operation operation);
  cr_status_t in_one_lock_cycle(const std::function<void()>& listing);
  cr_status_t check();
  cr_status_t check(const database::POVersion& version);
  template <class Operation>
  cr_status_t checked(Operation operation);
  cr_status_t put(const PO& po, std::unique_ptr<SQLite::Statement>& insert, const char* sql);
  cr_status_t get_row(std::unique_ptr<SQLite::Statement>& get, const char* sql,
                      const database::Value& key, database::PORow& row);
  cr_status_t remove_row(std::unique_ptr<SQLite::Statement>& remove, const char* sql,
                         const database::Value& key);
  bool holds_nothing();

  const Access m_access;
  const bool m_stores_commits_at_once = false;
  std::unique_ptr<database::PODBCreation> m_creation;  // null once a transaction was committed
  std::unique_ptr<SQLite::Database> m_database;        // null when there is no file
  bool m_checked = false;
  std::unique_ptr<SQLite::Statement> m_get;
  std::unique_ptr<SQLite::Statement> m_put;
  std::unique_ptr<SQLite::Statement> m_put_new;
  std::unique_ptr<SQLite::Statement> m_remove;
  std::unique_ptr<SQLite::Statement> m_get_numbered;
  std::unique_ptr<SQLite::Statement> m_get_row;
  std::unique_ptr<SQLite::Statement> m_remove_numbered;
};
