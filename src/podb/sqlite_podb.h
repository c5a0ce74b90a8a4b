#pragma once

#include <cstdint>
#include <functional>
#include <map>
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
// Threads: one at a time; several objects may work side by side.
// Errors: a constructor throws Cr_ErrnoException, naming the file, if the file cannot be opened.
//   Operations return a status, 0 for success. A fault in the file shows in the first operation.
class SQLitePODB {
 public:
  // Takes one basename, which is valid during the call only.
  using BasenameVisitor = std::function<void(std::string_view)>;

  enum class Access { read_only, read_write };

  // Creates nothing. A directory without `po.db` reads as an empty database that accepts no PO.
  // Opened for writing, SQLite rolls back what a killed run left unfinished.
  SQLitePODB(const std::string& tree_root, const std::string& policy_dir,
             Access access = Access::read_only);

  // Opens for reading and writing. Creates the policy directory and the database if needed; see
  // PODBCreation. The destructor removes these unless a transaction was committed.
  SQLitePODB(const boost::filesystem::path& tree_root, const boost::filesystem::path& policy_dir);

  ~SQLitePODB();

  // Whether there was a database to open.
  bool is_there() const { return m_database != nullptr; }

  SQLitePODB(const SQLitePODB&) = delete;
  SQLitePODB& operator=(const SQLitePODB&) = delete;

  // Passes every basename to `visitor`, in byte order and without a list: a directory may have
  // millions. After a failure, what the visitor has seen is incomplete. The visitor may throw.
  cr_status_t get_basenames(const BasenameVisitor& visitor);

  // The same for the basenames that do not begin with `prefix`. The cost grows only with these: the
  // others are not read, so damage among them is not detected.
  cr_status_t get_basenames_without(std::string_view prefix, const BasenameVisitor& visitor);

  // Sets `names` to the basenames that match an SQL condition, in byte order; to none on failure.
  // The caller quotes what it puts into the condition. BLOBs go to `blobs` if it is given; on
  // failure it is undefined.
  cr_status_t get_basenames(std::vector<std::string>& names, const std::string& condition,
                            std::vector<std::string>* blobs = nullptr);

  // What is listed of a PO.
  struct Entry {
    std::string_view basename;  // valid during the call only
    std::int64_t row;           // its rowid, until another process writes to the database
    std::uint64_t bytes;        // the PO's size, at most 2^53, so that sums fit
  };
  using EntryVisitor = std::function<void(const Entry&)>;

  // Passes the POs of each range of basenames to `visitor`. Without sizes, which are 0 then, only
  // the index is read. Names that are BLOBs are left out.
  cr_status_t get_entries_in(const std::vector<database::BasenameRange>& ranges, bool with_sizes,
                             const EntryVisitor& visitor);

  // Fills `po` with the PO of that basename. k_status_db_no_such_po if there is none;
  // k_status_malformed if a column has another type than its own.
  cr_status_t get(const std::string& basename, PO& po);

  // Stores `po`, replacing a PO of the same basename.
  cr_status_t put(const PO* po);

  // Stores `po`; k_status_handled, without a change, if its basename is taken.
  cr_status_t put_new(const PO* po);

  // Removes the PO of that basename; k_status_db_no_such_po if there is none.
  cr_status_t remove(const std::string& basename);

  // The same for a PO as it is stored, with columns of any type.
  cr_status_t get_row(std::int64_t number, database::PORow& row);
  cr_status_t get_row(const database::Value& basename, database::PORow& row);
  cr_status_t put_new_row(const database::PORow& row);
  cr_status_t remove_row(std::int64_t number);

  // A transaction of a database opened read-only reads one snapshot. The destructor, and a failed
  // commit, roll back; a rollback without a transaction does nothing. PODBTransaction owns one.
  cr_status_t do_begin_transaction();
  cr_status_t do_commit_transaction();
  cr_status_t do_rollback_transaction();

  // Runs one SQL statement, in its own transaction unless one is open, and passes the first column
  // of each row to `rows`, which may be null. If text follows the statement, nothing runs.
  cr_status_t exec_sql(const std::string& sql, const BasenameVisitor* rows);

  // The directories and database that the constructor made, outermost first; none after a commit.
  std::vector<std::string> made() const;

 private:
  cr_status_t under_read_lock(const std::function<void()>& listing);
  cr_status_t check();
  cr_status_t check(const database::POVersion& version);
  template <class Operation>
  cr_status_t checked(Operation operation);
  cr_status_t put(const PO& po, const char* sql);
  cr_status_t get_row(const char* sql, const database::Value& key, database::PORow& row);
  cr_status_t remove_row(const char* sql, const database::Value& key);
  bool holds_nothing();

  const Access m_access;
  const bool m_syncs_each_commit = false;
  std::unique_ptr<database::PODBCreation> m_creation;  // null once a transaction was committed
  std::unique_ptr<SQLite::Database> m_database;        // null if there is no file
  bool m_checked = false;
  std::map<const char*, SQLite::Statement> m_statements;
};
