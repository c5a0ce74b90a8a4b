#include "record/record_database.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <SQLiteCpp/SQLiteCpp.h>

#include <boost/filesystem/operations.hpp>

#include "platform/sqlite_connection.h"
#include "platform/status.h"
#include "record/names.h"
#include "record/schema.h"

namespace fs = boost::filesystem;

namespace record {

namespace {

void bind(SQLite::Statement& statement, int index, const std::string& text) {
  statement.bindNoCopy(index, text);
}
void bind(SQLite::Statement& statement, int index, std::uint64_t number) {
  statement.bind(index, static_cast<std::int64_t>(number));
}
template <class Number>
void bind(SQLite::Statement& statement, int index, Number number) {
  statement.bind(index, number);
}

// Binds values one after the other.
class Binder {
 public:
  explicit Binder(SQLite::Statement& statement) : m_statement(statement) {}
  template <class Value>
  void add(const Value& value) {
    bind(m_statement, ++m_index, value);
  }
  void add_unless(bool unknown, std::int64_t value) {
    ++m_index;
    if (!unknown) m_statement.bind(m_index, value);  // what is not bound is NULL
  }
  void add(const DirCounts& counts) {
    for (const Count& count : k_counts) add(counts.*count.value);
  }

 private:
  SQLite::Statement& m_statement;
  int m_index = 0;
};

std::string insert_moved(std::size_t rows) {
  std::string sql = "INSERT INTO moved (directory, target, basename) VALUES (?1, ?2, ?3)";
  for (std::size_t i = 1; i < rows; ++i) sql += ", (?1, ?2, ?" + std::to_string(3 + i) + ")";
  return sql;
}

// An empty file that was not there.
void make_file(const std::string& path) {
  constexpr mode_t k_mode = 0640;
  const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, k_mode);
  if (descriptor < 0)
    throw Cr_ErrnoException(errno, "could not make " + path, std::strerror(errno));
  (void)::close(descriptor);  // nothing was written
}

void put_in_place(const std::string& made, const std::string& file) {
  if (fs::exists(file)) throw Cr_ErrnoException(EEXIST, file + " is there already");
  if (std::rename(made.c_str(), file.c_str()) != 0) {
    throw Cr_ErrnoException(errno, "could not make " + file, std::strerror(errno));
  }
}

}  // namespace

template <class... Values>
SQLite::Statement& RecordDatabase::bound(const char* sql, const Values&... values) {
  auto known = m_statements.find(sql);
  if (known == m_statements.end()) {
    known = m_statements.emplace(sql, SQLite::Statement(*m_database, sql)).first;
  }
  Binder binder(known->second);
  (binder.add(values), ...);
  return known->second;
}

template <class... Values>
std::int64_t RecordDatabase::execute(const char* sql, const Values&... values) {
  SQLite::Statement& statement = bound(sql, values...);
  statement.exec();
  statement.reset();
  return m_database->getLastInsertRowid();
}

template <class... Values>
std::optional<std::int64_t> RecordDatabase::find(const char* sql, const Values&... values) {
  SQLite::Statement& statement = bound(sql, values...);
  std::optional<std::int64_t> number;
  if (statement.executeStep()) number = statement.getColumn(0).getInt64();
  statement.reset();
  return number;
}

RecordDatabase::RecordDatabase(const std::string& file, Run run) : m_run(std::move(run)) {
  constexpr int k_busy_timeout_milliseconds = 2000;  // a report may be reading
  const std::string unfinished = file + ".new";
  make_file(unfinished);
  create(unfinished);
  put_in_place(unfinished, file);
  m_database = platform::open_database(file, SQLite::OPEN_READWRITE);
  m_database->setBusyTimeout(k_busy_timeout_milliseconds);
  // A commit appends to the write-ahead log and is not synced. The syncs of a checkpoint come once for
  // each 64 MiB of it.
  m_database->exec("PRAGMA synchronous=NORMAL");
  m_database->exec("PRAGMA wal_autocheckpoint=16384");
  m_last_commit = Clock::now();
}

// No journal, no syncs: nobody misses the file if this does not come to its end.
void RecordDatabase::create(const std::string& file) {
  m_database = platform::open_database(file, SQLite::OPEN_READWRITE);
  m_database->exec("PRAGMA journal_mode=OFF");
  m_database->exec("PRAGMA synchronous=OFF");
  begin();
  m_database->exec("PRAGMA application_id=" + std::to_string(k_application_id));
  m_database->exec("PRAGMA user_version=" + std::to_string(k_version));
  for (const std::string& statement : schema()) m_database->exec(statement);
  m_run_changed = true;
  for (const std::string& argument : m_run.arguments) {
    execute("INSERT INTO argument (text) VALUES (?)", argument);
  }
  commit();
  m_statements.clear();
  m_database->exec("PRAGMA journal_mode=WAL");
  m_database.reset();
}

RecordDatabase::~RecordDatabase() = default;

void RecordDatabase::begin() {
  if (!m_in_transaction) execute("BEGIN");
  m_in_transaction = true;
}

void RecordDatabase::commit() {
  if (m_run_changed) store_run(m_run);
  m_run_changed = false;
  execute("COMMIT");
  m_in_transaction = false;
  m_last_commit = Clock::now();
}

void RecordDatabase::commit_if_due() {
  constexpr std::chrono::seconds k_longest(1);
  if (Clock::now() - m_last_commit >= k_longest) commit();
}

void RecordDatabase::store_run(const Run& run) {
  const std::string task = name_of(k_task_names, run.task);
  const std::string ending = name_of(k_ending_names, run.end.ending);
  static const std::string sql = [] {
    std::string text = "INSERT OR REPLACE INTO run VALUES (1";
    constexpr std::size_t k_others = 17;
    for (std::size_t i = 0; i < k_counts.size() + k_others; ++i) text += ", ?";
    return text + ")";
  }();
  SQLite::Statement& statement = bound(sql.c_str());
  statement.clearBindings();
  Binder values(statement);
  values.add(run.counts);
  values.add(task);
  values.add(run.version);
  values.add(run.host);
  values.add(run.pid);
  values.add(run.storage_root);
  values.add(run.catalog);
  values.add(run.disk_pool);
  values.add_unless(!run.listing_hours, run.listing_hours.value_or(0));
  values.add(run.threads);
  values.add(run.start_nanoseconds);
  values.add_unless(run.end_nanoseconds == 0, run.end_nanoseconds);
  values.add(ending);
  values.add(run.end.text);
  values.add_unless(run.end.ending == Ending::none, run.end.exit_status);
  values.add(run.catalog_aside);
  values.add(run.dirs);
  values.add(run.failed_dirs);
  statement.exec();
  statement.reset();
}

std::int64_t RecordDatabase::id_of(const std::string& client, const std::string& policy) {
  const bool is_last = m_last_pair_id != 0 && m_last_client == client && m_last_policy == policy;
  if (is_last) return m_last_pair_id;
  const auto known =
      find("SELECT id FROM client_policy WHERE client = ? AND policy = ?", client, policy);
  m_last_pair_id =
      known ? *known
            : execute("INSERT INTO client_policy (client, policy) VALUES (?, ?)", client, policy);
  m_last_client = client;
  m_last_policy = policy;
  return m_last_pair_id;
}

void RecordDatabase::store(Directory& directory) {
  if (directory.id != 0) return;
  const std::int64_t pair = id_of(directory.client, directory.policy);
  directory.id =
      execute("INSERT INTO directory (dsid, client_policy) VALUES (?, ?)", directory.dsid, pair);
}

void RecordDatabase::store(Directory& directory, const Orphan& orphan) {
  store(directory);
  const std::int64_t id = execute(
      "INSERT INTO orphan (directory, backup_time, copy, pos, bytes, deleted) "
      "VALUES (?, ?, ?, ?, ?, ?)",
      directory.id, orphan.backup_time, orphan.copy_number, orphan.pos, orphan.bytes,
      static_cast<int>(orphan.deleted));
  for (const std::string& basename : orphan.other_copies) {
    execute("INSERT INTO collateral (orphan, basename) VALUES (?, ?)", id, basename);
  }
}

// Several rows at a time take a third of the time of single ones, and a repair moves most of what it
// reads.
void RecordDatabase::store(Directory& directory, const Moved& moved) {
  constexpr std::size_t k_rows = 25;
  static const std::string one = insert_moved(1);
  static const std::string several = insert_moved(k_rows);
  store(directory);
  const std::int64_t target = id_of(moved.target_client, directory.policy);
  for (std::size_t at = 0; at < moved.basenames.size();) {
    const std::size_t rows = moved.basenames.size() - at < k_rows ? 1 : k_rows;
    SQLite::Statement& insert =
        bound(rows == 1 ? one.c_str() : several.c_str(), directory.id, target);
    for (int index = 1; index <= static_cast<int>(rows); ++index) {
      bind(insert, 2 + index, *moved.basenames[at++]);
    }
    insert.exec();
    insert.reset();
  }
}

void RecordDatabase::store(Directory& directory, const Collision& collision) {
  store(directory);
  execute("INSERT INTO collision (directory, target, basename) VALUES (?, ?, ?)", directory.id,
          id_of(collision.target_client, directory.policy), collision.basename);
}

void RecordDatabase::store(Directory& directory, const UnparsedName& name) {
  store(directory);
  execute("INSERT INTO unparsed (directory, basename, reason) VALUES (?, ?, ?)", directory.id,
          name.basename, name.reason);
}

void RecordDatabase::store(const MissingCopy& copy) {
  execute("INSERT INTO missing (client_policy, backup_time, copy) VALUES (?, ?, ?)",
          id_of(copy.client, copy.policy), copy.backup_time, copy.copy_number);
}

void RecordDatabase::store(Severity severity, const std::string& text) {
  execute("INSERT INTO message (severity, text) VALUES (?, ?)", name_of(k_severity_names, severity),
          text);
}

void RecordDatabase::store(const Link& link) {
  if (link.removed) {
    execute("UPDATE link SET removed = 1 WHERE path = ?", link.path);
  } else {
    execute("INSERT INTO link (path, target, removed) VALUES (?, ?, 0)", link.path, link.target);
  }
}

void RecordDatabase::change_run(const std::function<void(Run&)>& change) {
  change(m_run);
  m_run_changed = true;
}

void RecordDatabase::store_state(const Directory& directory, std::string_view state,
                                 const std::string& reason) {
  static const std::string sql =
      "UPDATE directory SET " + count_columns(" = ?") + "state = ?, reason = ? WHERE id = ?";
  SQLite::Statement& statement = bound(sql.c_str());
  Binder values(statement);
  values.add(directory.counts);
  const std::string state_text(state);
  values.add(state_text);
  values.add(reason);
  values.add(directory.id);
  statement.exec();
  statement.reset();
}

// The switch changes some bytes of one sector. It needs no journal, which a reader could not roll back.
void RecordDatabase::close() {
  m_statements.clear();
  try {
    m_database->exec("PRAGMA journal_mode=OFF");
  } catch (const SQLite::Exception&) {
    // Nothing is lost: it is all in the log.
  }
  m_database.reset();
}

}  // namespace record
