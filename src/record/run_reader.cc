#include "record/run_reader.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <SQLiteCpp/SQLiteCpp.h>

#include "files/file_kind.h"
#include "podb/sqlite_connection.h"
#include "podb/statement_rows.h"
#include "record/names.h"
#include "record/schema.h"
#include "status/status.h"

namespace record {

namespace {

// SQLite would wait for ever for a pipe of such a name.
const std::string& require_regular_files_beside(const std::string& file) {
  for (const char* suffix : {"-journal", "-wal", "-shm"}) {
    if (files::file_kind(file + suffix) != files::FileKind::special) continue;
    throw Cr_ErrnoException(k_status_db_cannot_open, "could not read the record " + file,
                            "what has its name and " + std::string(suffix) + " is no regular file");
  }
  return file;
}

}  // namespace

template <class Read>
auto RunReader::guarded(Read read) {
  try {
    return read();
  } catch (const SQLite::Exception& error) {
    throw Cr_ErrnoException(database::database_status(error), "could not read the record " + m_file,
                            error.what());
  }
}

RunReader::Row::Row(SQLite::Statement& statement) {
  for (int i = 0; i < statement.getColumnCount(); ++i) {
    m_columns.push_back(statement.getColumn(i));
  }
}

RunReader::Row::~Row() = default;

std::string RunReader::Row::text(std::size_t column) const {
  return std::string(database::text_of(m_columns[column]));
}

std::int64_t RunReader::Row::number(std::size_t column) const {
  return m_columns[column].getInt64();
}

std::uint64_t RunReader::Row::count(std::size_t column) const {
  return static_cast<std::uint64_t>(std::max<std::int64_t>(0, number(column)));
}

bool RunReader::Row::is_null(std::size_t column) const {
  return m_columns[column].isNull();
}

DirCounts RunReader::Row::counts(std::size_t first) const {
  DirCounts counts;
  for (const Count& each : k_counts) counts.*each.value = count(first++);
  return counts;
}

void RunReader::Row::po(std::size_t first, database::PORow& row) const {
  for (database::Value& value : row) database::read_value(m_columns[first++], value);
}

RunReader::Cursor::Cursor(RunReader& reader, const std::string& query) : m_reader(reader) {
  m_reader.guarded(
      [&] { m_statement = std::make_unique<SQLite::Statement>(*m_reader.m_database, query); });
}

RunReader::Cursor::~Cursor() = default;

const RunReader::Row* RunReader::Cursor::next() {
  return m_reader.guarded([this]() -> const Row* {
    if (!m_statement->executeStep()) return nullptr;
    if (!m_row) m_row = std::make_unique<const Row>(*m_statement);  // follows it
    return m_row.get();
  });
}

void RunReader::rows(const std::string& query, const RowVisitor& visit, std::int64_t most) {
  Cursor cursor(*this, query + " LIMIT " + std::to_string(most));
  while (const Row* const row = cursor.next()) visit(*row);
}

std::uint64_t RunReader::count(const std::string& from) {
  std::uint64_t count = 0;
  rows("SELECT count(*) FROM " + from, [&](const Row& row) { count = row.count(0); });
  return count;
}

RunReader::RunReader(std::string file)
    : m_file(std::move(file)),
      m_database(
          database::open_database(require_regular_files_beside(m_file), SQLite::OPEN_READONLY)) {
  guarded([this] { require_record(); });
}

RunReader::~RunReader() = default;

// The transaction stays open, so that everything is read from one snapshot.
void RunReader::require_record() {
  m_database->exec("BEGIN");
  const auto refuse = [this](const char* why) {
    throw Cr_ErrnoException(k_status_db_foreign, "could not read the record " + m_file, why);
  };
  if (m_database->execAndGet("PRAGMA application_id").getInt() != k_application_id) {
    refuse("it is no record of a run");
  }
  if (m_database->execAndGet("PRAGMA user_version").getInt() != k_version) {
    refuse("it has a version that this program does not know");
  }
  std::vector<std::string> found;
  SQLite::Statement objects(*m_database, "SELECT sql FROM sqlite_schema WHERE sql IS NOT NULL");
  while (objects.executeStep()) found.push_back(objects.getColumn(0).getString());
  if (found != schema()) refuse("its tables are not those of a record");
}

Run RunReader::run() {
  Run run;
  bool is_there = false;
  const auto take = [&](const Row& row) {
    std::size_t at = k_counts.size();
    is_there = true;
    run.counts = row.counts(0);
    run.task = value_of(k_task_names, row.text(at++));
    run.end.ending = value_of(k_ending_names, row.text(at++));
    for (std::string* text : {&run.version, &run.host, &run.storage_root, &run.catalog,
                              &run.disk_pool, &run.end.text, &run.catalog_aside, &run.of_run}) {
      *text = row.text(at++);
    }
    for (std::int64_t* number : {&run.pid, &run.threads, &run.start_nanoseconds,
                                 &run.end_nanoseconds, &run.catalog_backup_time}) {
      *number = row.number(at++);
    }
    run.undo = value_of(k_undo_names, row.text(at++));
    run.end.exit_status = static_cast<int>(row.number(at++));
    run.dirs = row.count(at++);
    run.failed_dirs = row.count(at++);
    run.skipped_dirs = row.count(at++);
    if (!row.is_null(at)) run.listing_hours = row.number(at);
  };
  rows("SELECT " + count_columns("") +
           "task, ending, version, host, storage_root, catalog, disk_pool, ending_text, "
           "catalog_aside, of_run, pid, threads, started, ended, catalog_backup_time, undo, "
           "exit_status, dirs, failed_dirs, skipped_dirs, listing_hours FROM run",
       take, 1);
  if (!is_there) {
    throw Cr_ErrnoException(k_status_malformed, "could not read the record " + m_file,
                            "it holds no run");
  }
  rows("SELECT text FROM argument", [&](const Row& row) { run.arguments.push_back(row.text(0)); });
  return run;
}

}  // namespace record
