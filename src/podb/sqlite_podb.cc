#include "podb/sqlite_podb.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include "podb/po.h"
#include "podb/po_schema.h"
#include "podb/podb_creation.h"
#include "podb/sqlite_connection.h"
#include "podb/statement_in_use.h"
#include "podb/statement_rows.h"

namespace fs = boost::filesystem;

namespace {

using database::bytes_of;
using database::PORow;
using database::StatementInUse;
using database::status_of;
using database::step_through;
using database::text_of;
using database::Value;

constexpr const char* k_insert_new = "INSERT OR IGNORE INTO po VALUES (?, ?, ?, ?, ?)";

}  // namespace

SQLitePODB::SQLitePODB(const std::string& /*tree_root*/, const std::string& policy_dir,
                       Access access)
    : m_access(access) {
  const std::string file = database::podb_file(policy_dir).string();
  const int flags = access == Access::read_only ? SQLite::OPEN_READONLY : SQLite::OPEN_READWRITE;
  m_database = database::open_database_if_there(file, flags);
}

SQLitePODB::SQLitePODB(const fs::path& tree_root, const fs::path& policy_dir)
    : m_access(Access::read_write),
      m_syncs_each_commit(true),
      m_creation(std::make_unique<database::PODBCreation>(tree_root, policy_dir)) {
  try {
    m_database =
        database::open_database(database::podb_file(policy_dir).string(), SQLite::OPEN_READWRITE);
  } catch (...) {
    m_creation->undo();
    throw;
  }
}

SQLitePODB::~SQLitePODB() {
  if (m_creation == nullptr || !m_creation->made_database()) return;
  try {
    // The exclusive lock is held until the file is gone, so no other process stores a PO meanwhile.
    if (holds_nothing()) m_creation->undo();
  } catch (const std::exception&) {
    return;  // what cannot be read stays
  }
}

bool SQLitePODB::holds_nothing() {
  if (do_rollback_transaction() != k_status_ok) return false;
  m_database->exec("BEGIN EXCLUSIVE");
  return m_database->execAndGet("SELECT count(*) FROM po").getInt64() == 0;
}

template <class Operation>
cr_status_t SQLitePODB::checked(Operation operation) {
  return status_of([&] {
    const cr_status_t status = check();
    return status == k_status_ok ? operation() : status;
  });
}

cr_status_t SQLitePODB::get(const std::string& basename, PO& po) {
  return checked([&] {
    StatementInUse statement(*m_database, m_statements,
                             "SELECT poid, size, mtime, record FROM po WHERE basename = ?");
    statement->bindNoCopy(1, basename);
    if (!statement->executeStep()) return k_status_db_no_such_po;
    const SQLite::Column poid = statement->getColumn(0);
    const SQLite::Column size = statement->getColumn(1);
    const SQLite::Column mtime = statement->getColumn(2);
    const SQLite::Column record = statement->getColumn(3);
    if (!poid.isText() || !size.isInteger() || !mtime.isInteger() || !record.isBlob()) {
      return k_status_malformed;
    }
    POData& data = po.data();
    data.basename = basename;
    data.poid = text_of(poid);
    data.size = size.getInt64();
    data.mtime = mtime.getInt64();
    data.record = bytes_of(record);
    return k_status_ok;
  });
}

cr_status_t SQLitePODB::put(const PO* po) {
  return put(*po, "INSERT OR REPLACE INTO po VALUES (?, ?, ?, ?, ?)");
}

cr_status_t SQLitePODB::put_new(const PO* po) {
  return put(*po, k_insert_new);
}

cr_status_t SQLitePODB::put(const PO& po, const char* sql) {
  return checked([&] {
    const POData& data = po.data();
    StatementInUse statement(*m_database, m_statements, sql);
    statement->bindNoCopy(1, data.basename);
    statement->bindNoCopy(2, data.poid);
    statement->bind(3, data.size);
    statement->bind(4, data.mtime);
    statement->bindNoCopy(5, data.record.data(), static_cast<int>(data.record.size()));
    return statement->exec() == 0 ? k_status_handled : k_status_ok;
  });
}

cr_status_t SQLitePODB::put_new_row(const PORow& row) {
  return checked([&] {
    StatementInUse statement(*m_database, m_statements, k_insert_new);
    database::Binder(*statement).add(row);
    return statement->exec() == 0 ? k_status_handled : k_status_ok;
  });
}

cr_status_t SQLitePODB::get_row(std::int64_t number, PORow& row) {
  return get_row("SELECT * FROM po WHERE rowid = ?", number, row);
}

cr_status_t SQLitePODB::get_row(const Value& basename, PORow& row) {
  return get_row("SELECT * FROM po WHERE basename = ?", basename, row);
}

cr_status_t SQLitePODB::get_row(const char* sql, const Value& key, PORow& row) {
  return checked([&] {
    StatementInUse statement(*m_database, m_statements, sql);
    database::Binder(*statement).add(key);
    if (!statement->executeStep()) return k_status_db_no_such_po;
    database::read_row(*statement, row);
    return k_status_ok;
  });
}

cr_status_t SQLitePODB::remove(const std::string& basename) {
  return remove_row("DELETE FROM po WHERE basename = ?", basename);
}

cr_status_t SQLitePODB::remove_row(std::int64_t number) {
  return remove_row("DELETE FROM po WHERE rowid = ?", number);
}

cr_status_t SQLitePODB::remove_row(const char* sql, const Value& key) {
  return checked([&] {
    StatementInUse statement(*m_database, m_statements, sql);
    database::Binder(*statement).add(key);
    return statement->exec() == 0 ? k_status_db_no_such_po : k_status_ok;
  });
}

cr_status_t SQLitePODB::do_begin_transaction() {
  const cr_status_t status = status_of([&] {
    if (!m_database) return k_status_db_read_only;
    const cr_status_t header = database::check_file_header(*m_database);
    if (header != k_status_ok) return header;
    // A PO that was moved here leaves its source right after.
    if (m_syncs_each_commit) database::sync_each_commit(*m_database);
    m_database->exec(m_access == Access::read_only ? "BEGIN" : "BEGIN IMMEDIATE");
    m_checked = false;  // another process may have changed it since
    return check();
  });
  if (status != k_status_ok) (void)do_rollback_transaction();  // the first failure is reported
  return status;
}

cr_status_t SQLitePODB::do_commit_transaction() {
  return status_of([&] {
    if (!m_database) return k_status_db_read_only;
    m_database->exec("COMMIT");
    m_creation.reset();  // what was created stays
    return k_status_ok;
  });
}

cr_status_t SQLitePODB::do_rollback_transaction() {
  return status_of([&] {
    // After some errors, such as a full disk, SQLite has rolled back already.
    if (m_database && database::in_transaction(*m_database)) m_database->exec("ROLLBACK");
    return k_status_ok;
  });
}

cr_status_t SQLitePODB::exec_sql(const std::string& sql, const BasenameVisitor* rows) {
  return status_of([&] {
    if (!m_database) return k_status_db_read_only;
    cr_status_t status = database::check_file_header(*m_database);
    if (status == k_status_ok) status = check();
    if (status != k_status_ok) return status;
    database::require_one_statement(*m_database, sql);
    SQLite::Statement statement(*m_database, sql);
    step_through(statement, rows);
    return k_status_ok;
  });
}

std::vector<std::string> SQLitePODB::made() const {
  return m_creation ? m_creation->made() : std::vector<std::string>();
}

cr_status_t SQLitePODB::under_read_lock(const std::function<void()>& listing) {
  return status_of([&] {
    if (!m_database) return k_status_ok;
    cr_status_t status = database::check_file_header(*m_database);
    if (status != k_status_ok) return status;
    const database::POVersion version(*m_database);
    status = check(version);
    if (status != k_status_ok) return status;
    listing();
    return k_status_ok;
  });
}

cr_status_t SQLitePODB::check() {
  if (!m_database) return k_status_db_read_only;
  return m_checked ? k_status_ok : check(database::POVersion(*m_database));
}

cr_status_t SQLitePODB::check(const database::POVersion& version) {
  if (m_checked) return k_status_ok;
  const cr_status_t status = database::check_po_schema(*m_database, version);
  m_checked = status == k_status_ok;
  return status;
}
