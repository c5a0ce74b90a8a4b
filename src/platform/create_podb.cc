#include "platform/create_podb.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <SQLiteCpp/SQLiteCpp.h>

#include <boost/filesystem/path.hpp>

#include "platform/po_schema.h"
#include "platform/sqlite_connection.h"
#include "platform/status.h"

namespace platform {

namespace {

[[noreturn]] void fail(const std::string& what, const std::string& file) {
  const int error = errno;
  throw Cr_ErrnoException(error, what + file, std::strerror(error));
}

// A run that died may have left these; they hold nothing that anybody refers to.
void clear(const std::string& temporary) {
  for (const char* suffix : {"", "-journal"}) {
    if (::unlink((temporary + suffix).c_str()) != 0 && errno != ENOENT) {
      fail("could not remove ", temporary + suffix);
    }
  }
}

void write_schema(const std::string& temporary) {
  const auto database = open_database(temporary, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
  try {
    SQLite::Transaction transaction(*database);
    database->exec(k_po_schema);
    database->exec("PRAGMA user_version = " + std::to_string(k_po_version));
    transaction.commit();
  } catch (const SQLite::Exception& error) {
    throw Cr_ErrnoException(database_status(error), "could not create the database " + temporary,
                            error.what());
  }
}

void sync_directory(const std::string& directory) {
  const int descriptor = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) fail("could not open the directory ", directory);
  const int result = ::fsync(descriptor);
  (void)::close(descriptor);  // nothing was written through it
  if (result != 0) fail("could not store the directory ", directory);
}

}  // namespace

void create_podb(const std::string& file) {
  const std::string temporary = file + ".new";
  clear(temporary);
  write_schema(temporary);
  // link, not rename: rename would replace a database that somebody else has just made and filled.
  if (::link(temporary.c_str(), file.c_str()) != 0 && errno != EEXIST) {
    fail("could not create the database ", file);
  }
  clear(temporary);
  sync_directory(boost::filesystem::path(file).parent_path().string());
}

}  // namespace platform
