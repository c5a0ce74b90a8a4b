#include "podb/sqlite_connection.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include <sqlite3.h>

#include "files/file_kind.h"
#include "podb/sqlite_file_layer.h"
#include "podb/sqlite_memory.h"

namespace database {

namespace {

constexpr int k_busy_timeout_milliseconds = 30000;

// Without it SQLite counts its memory under one mutex, which makes several workers slower than one.
bool configure_library() {
  return sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0) == SQLITE_OK && keep_sqlite_blocks();
}

void harden(SQLite::Database& database) {
  sqlite3* handle = database.getHandle();
  for (const int option : {SQLITE_DBCONFIG_TRUSTED_SCHEMA, SQLITE_DBCONFIG_ENABLE_TRIGGER,
                           SQLITE_DBCONFIG_ENABLE_VIEW}) {
    if (sqlite3_db_config(handle, option, 0, nullptr) != SQLITE_OK) {
      throw SQLite::Exception(handle);
    }
  }
  database.exec("PRAGMA cell_size_check=ON");
}

bool is_regular_itself(const std::string& file) {
  struct stat info {};
  return ::lstat(file.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

// `vfs` is null for the default one.
std::unique_ptr<SQLite::Database> open_through(const char* vfs, const std::string& file,
                                               int flags) {
  try {
    auto database = std::make_unique<SQLite::Database>(file.c_str(), flags | SQLite::OPEN_NOMUTEX,
                                                       k_busy_timeout_milliseconds, vfs);
    harden(*database);
    return database;
  } catch (const SQLite::Exception& error) {
    throw Cr_ErrnoException(database_status(error), "could not open the database " + file,
                            error.what());
  }
}

std::unique_ptr<SQLite::Database> open(const std::string& file, int flags, bool only_if_there) {
  static const bool configured = configure_library();
  (void)configured;  // SQLite refuses it once it is in use, and is only slower then
  if (is_regular_itself(file)) return open_through(file_layer_without_links(), file, flags);
  const files::FileKind kind = files::file_kind(file);
  if (only_if_there && kind == files::FileKind::none) return nullptr;
  if (kind == files::FileKind::special) {
    throw Cr_ErrnoException(k_status_db_cannot_open,
                            "could not open the database " + file + "; it is no regular file");
  }
  return open_through(nullptr, file, flags);
}

}  // namespace

std::unique_ptr<SQLite::Database> open_database(const std::string& file, int flags) {
  return open(file, flags, false);
}

std::unique_ptr<SQLite::Database> open_database_if_there(const std::string& file, int flags) {
  return open(file, flags, true);
}

cr_status_t check_file_header(SQLite::Database& database) {
  constexpr std::size_t k_read_version = 19;
  constexpr std::size_t k_encoding = 59;
  constexpr char k_write_ahead_log = 2;
  constexpr unsigned char k_utf8 = 1;
  const std::string file = sqlite3_db_filename(database.getHandle(), "main");
  struct stat info {};
  if (::lstat((file + "-wal").c_str(), &info) == 0) return k_status_db_write_ahead_log;
  std::array<char, k_encoding + 1> header{};
  read_beginning(database, header.data(), header.size());
  constexpr std::string_view k_magic = "SQLite format 3";
  if (std::memcmp(header.data(), k_magic.data(), k_magic.size()) != 0) return k_status_ok;
  if (header[k_read_version] == k_write_ahead_log) return k_status_db_write_ahead_log;
  return static_cast<unsigned char>(header[k_encoding]) > k_utf8 ? k_status_db_foreign
                                                                 : k_status_ok;
}

void read_beginning(SQLite::Database& database, char* bytes, std::size_t size) {
  sqlite3_file* file = nullptr;
  // Through SQLite's own descriptor: closing another one would drop SQLite's locks.
  if (sqlite3_file_control(database.getHandle(), "main", SQLITE_FCNTL_FILE_POINTER,
                           static_cast<void*>(&file)) != SQLITE_OK ||
      file == nullptr || file->pMethods == nullptr) {
    throw SQLite::Exception("the database file cannot be reached", SQLITE_IOERR);
  }
  const int result = file->pMethods->xRead(file, bytes, static_cast<int>(size), 0);
  if (result != SQLITE_OK && result != SQLITE_IOERR_SHORT_READ) {
    throw SQLite::Exception(sqlite3_errstr(result), result);
  }
}

void sync_each_commit(SQLite::Database& database) {
  database.exec("PRAGMA synchronous=EXTRA");
}

bool in_transaction(SQLite::Database& database) {
  return sqlite3_get_autocommit(database.getHandle()) == 0;
}

void require_one_statement(SQLite::Database& database, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  const char* rest = nullptr;
  const int result = sqlite3_prepare_v2(database.getHandle(), sql.data(),
                                        static_cast<int>(sql.size()), &statement, &rest);
  const bool is_statement = statement != nullptr;
  sqlite3_finalize(statement);
  if (result != SQLITE_OK) throw SQLite::Exception(database.getHandle(), result);
  const std::string after(rest, sql.data() + sql.size());
  if (!is_statement || after.find_first_not_of(" \t\n") != std::string::npos) {
    throw SQLite::Exception("not one SQL statement", SQLITE_MISUSE);
  }
}

cr_status_t database_status(const SQLite::Exception& error) {
  if (error.getExtendedErrorCode() == SQLITE_READONLY_ROLLBACK) return k_status_db_unfinished;
  switch (error.getErrorCode() & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return k_status_db_busy;
    case SQLITE_CORRUPT:
      return k_status_db_damaged;
    case SQLITE_NOTADB:
      return k_status_db_foreign;
    case SQLITE_IOERR:
      return k_status_db_io;
    case SQLITE_FULL:
      return k_status_db_full;
    case SQLITE_READONLY:
      return k_status_db_read_only;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return k_status_db_cannot_open;
    default:
      return k_status_db_error;
  }
}

}  // namespace database
