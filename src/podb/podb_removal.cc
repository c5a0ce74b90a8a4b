#include "podb/podb_removal.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include <SQLiteCpp/SQLiteCpp.h>

#include "files/sync.h"
#include "podb/po_schema.h"
#include "podb/podb_creation.h"
#include "podb/sqlite_connection.h"
#include "status/status.h"

namespace database {

namespace {

bool holds_nothing(SQLite::Database& database, const std::string& file) {
  cr_status_t status = k_status_ok;
  try {
    status = check_file_header(database);
    if (status == k_status_ok) {
      database.exec("BEGIN EXCLUSIVE");
      status = check_po_schema(database, POVersion(database));
    }
    if (status == k_status_ok) {
      return database.execAndGet("SELECT NOT EXISTS (SELECT 1 FROM po)").getInt() == 1;
    }
  } catch (const SQLite::Exception& error) {
    status = database_status(error);
  }
  throw Cr_ErrnoException(status, "could not look into " + file, CRStatusToStringA(status));
}

}  // namespace

// The connection keeps its exclusive lock until the file is gone.
bool remove_podb_without_pos(const boost::filesystem::path& policy_dir) {
  const std::string file = podb_file(policy_dir).string();
  const auto database = open_database_if_there(file, SQLite::OPEN_READWRITE);
  if (!database || !holds_nothing(*database, file)) return false;
  // The journal of the last transaction must not come back without the database.
  files::sync_directory(policy_dir.string());
  if (::unlink(file.c_str()) == 0) return true;
  throw Cr_ErrnoException(errno, "could not remove " + file, std::strerror(errno));
}

}  // namespace database
