#include "record/forget_saved.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include "podb/sqlite_connection.h"
#include "record/names.h"
#include "status/status.h"

namespace record {

// A reader cannot roll back the journal of a killed run, so the change goes to a write-ahead log.
// Each switch of the mode changes bytes of one sector only and needs no journal.
void forget_saved(const std::string& file) {
  try {
    const auto database = database::open_database(file, SQLite::OPEN_READWRITE);
    database->exec("PRAGMA journal_mode=OFF");
    database->exec("PRAGMA journal_mode=WAL");
    // Otherwise SQLite would overwrite each freed page with zeros.
    database->exec("PRAGMA secure_delete=OFF");
    SQLite::Transaction transaction(*database);
    database->exec("DELETE FROM saved");
    database->exec("UPDATE run SET undo = '" + name_of(k_undo_names, Undo::forgotten) + "'");
    transaction.commit();
    database->exec("VACUUM");
    database->exec("PRAGMA journal_mode=OFF");
  } catch (const SQLite::Exception& error) {
    throw Cr_ErrnoException(database::database_status(error), "could not change the record " + file,
                            error.what());
  }
}

}  // namespace record
