#include "platform/sqlite_podb.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include <boost/filesystem/operations.hpp>

#include "platform/create_podb.h"
#include "platform/po.h"
#include "platform/po_schema.h"
#include "platform/sqlite_connection.h"

namespace fs = boost::filesystem;

namespace {

constexpr const char* k_file_name = "po.db";

// A link that leads nowhere is there: its database is out of reach, which is not the same as empty.
bool is_there(const std::string& file) {
  boost::system::error_code error;
  return fs::symlink_status(file, error).type() != fs::file_not_found;
}

}  // namespace

// The database lies in the policy directory alone; the root serves libraries that keep more there.
SQLitePODB::SQLitePODB(const std::string& /*catalog_root*/, const std::string& policy_dir) {
  const std::string file = (fs::path(policy_dir) / k_file_name).string();
  if (is_there(file)) m_database = platform::open_database(file, SQLite::OPEN_READONLY);
}

SQLitePODB::SQLitePODB(const fs::path& /*catalog_root*/, const fs::path& policy_dir) {
  const std::string file = (policy_dir / k_file_name).string();
  if (!is_there(file)) {
    fs::create_directories(policy_dir);
    platform::create_podb(file);
  }
  m_database = platform::open_database(file, SQLite::OPEN_READWRITE);
}

SQLitePODB::~SQLitePODB() = default;

cr_status_t SQLitePODB::get_basenames(const BasenameVisitor& visitor) {
  return guarded([&] { return list_basenames(visitor); });
}

cr_status_t SQLitePODB::put(const PO* po) {
  return guarded([&] {
    const cr_status_t status = check();
    if (status != k_status_ok) return status;
    if (!m_put) {
      m_put = std::make_unique<SQLite::Statement>(
          *m_database, "INSERT OR REPLACE INTO po VALUES (?, ?, ?, ?, ?)");
    }
    m_put->bindNoCopy(1, po->basename);
    m_put->bindNoCopy(2, po->poid);
    m_put->bind(3, po->size);
    m_put->bind(4, po->mtime);
    m_put->bindNoCopy(5, po->record.data(), static_cast<int>(po->record.size()));
    m_put->exec();
    m_put->reset();
    return k_status_ok;
  });
}

cr_status_t SQLitePODB::do_begin_transaction() {
  return guarded([&] {
    if (!m_database) return k_status_db_read_only;
    if (platform::uses_write_ahead_log(*m_database)) return k_status_db_foreign;
    m_database->exec("BEGIN IMMEDIATE");
    return k_status_ok;
  });
}

cr_status_t SQLitePODB::do_commit_transaction() {
  return guarded([&] {
    if (!m_database) return k_status_db_read_only;
    m_database->exec("COMMIT");
    return k_status_ok;
  });
}

cr_status_t SQLitePODB::guarded(const std::function<cr_status_t()>& operation) {
  try {
    return operation();
  } catch (const SQLite::Exception& error) {
    return platform::database_status(error);
  }
}

cr_status_t SQLitePODB::list_basenames(const BasenameVisitor& visitor) {
  if (!m_database) return k_status_ok;
  if (platform::uses_write_ahead_log(*m_database)) return k_status_db_foreign;
  SQLite::Transaction one_lock_cycle(*m_database);
  const cr_status_t status = check();
  if (status != k_status_ok) return status;
  // The index behind UNIQUE holds the basenames alone, in byte order.
  SQLite::Statement names(*m_database, "SELECT basename FROM po ORDER BY basename");
  if (names.executeStep()) {
    const SQLite::Column name = names.getColumn(0);  // of whatever row the statement is on
    do {
      const char* text = name.getText();
      visitor(std::string_view(text, static_cast<std::size_t>(name.getBytes())));
    } while (names.executeStep());
  }
  names.reset();
  one_lock_cycle.commit();
  return k_status_ok;
}

cr_status_t SQLitePODB::check() {
  if (!m_database) return k_status_db_read_only;
  if (!m_checked) {
    const cr_status_t status = platform::check_po_schema(*m_database);
    if (status != k_status_ok) return status;
    m_checked = true;
  }
  return k_status_ok;
}
