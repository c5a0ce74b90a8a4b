#include "record/record_database.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

#include <SQLiteCpp/SQLiteCpp.h>

#include "podb/sqlite_connection.h"
#include "podb/statement_in_use.h"
#include "podb/statement_rows.h"
#include "record/names.h"
#include "record/record_file.h"
#include "record/schema.h"

namespace record {

namespace {

using database::StatementInUse;

std::string repeated(const std::string& text, std::size_t times) {
  std::string result;
  for (; times != 0; --times) result += text;
  return result;
}

class Binder : public database::Binder {
 public:
  using database::Binder::add;
  using database::Binder::Binder;
  void add(const DirCounts& counts) {
    for (const Count& count : k_counts) add(counts.*count.value);
  }
};

template <class... Values>
void bind(SQLite::Statement& statement, const Values&... values) {
  Binder binder(statement);
  (binder.add(values), ...);
}

constexpr std::size_t k_most_rows = 25;

// The statement that appends `rows` rows to `moved`.
const char* insertion_of(std::size_t rows) {
  static const auto statements = [] {
    std::array<std::string, k_most_rows + 1> made{"", "INSERT INTO moved VALUES (NULL, ?1, ?2, ?)"};
    for (std::size_t i = 2; i < made.size(); ++i) made[i] = made[i - 1] + ", (NULL, ?1, ?2, ?)";
    return made;
  }();
  return statements[rows].c_str();
}

}  // namespace

template <class... Values>
std::int64_t RecordDatabase::execute(const char* sql, const Values&... values) {
  StatementInUse statement(*m_database, m_statements, sql);
  bind(*statement, values...);
  statement->exec();
  return m_database->getLastInsertRowid();
}

template <class... Values>
std::optional<std::int64_t> RecordDatabase::find(const char* sql, const Values&... values) {
  StatementInUse statement(*m_database, m_statements, sql);
  bind(*statement, values...);
  if (!statement->executeStep()) return std::nullopt;
  return statement->getColumn(0).getInt64();
}

RecordDatabase::RecordDatabase(const std::string& file, Run run) : m_run(std::move(run)) {
  constexpr int k_busy_timeout_milliseconds = 2000;  // a report may be reading
  const std::string unfinished = file + ".new";
  make_file(unfinished);
  try {
    m_database = database::open_database(unfinished, SQLite::OPEN_READWRITE);
    create();
    put_in_place(unfinished, file);
  } catch (...) {
    (void)::unlink(unfinished.c_str());
    throw;
  }
  m_database = database::open_database(file, SQLite::OPEN_READWRITE);
  m_database->setBusyTimeout(k_busy_timeout_milliseconds);
  // A commit appends to the write-ahead log without a sync. A checkpoint syncs every 16 MiB.
  m_database->exec("PRAGMA synchronous=NORMAL");
  m_database->exec("PRAGMA wal_autocheckpoint=4096");
  m_last_commit = Clock::now();
}

// Without a journal and syncs: an incomplete file is of no use.
void RecordDatabase::create() {
  m_database->exec("PRAGMA journal_mode=OFF");
  m_database->exec("PRAGMA synchronous=OFF");
  begin();
  m_database->exec("PRAGMA application_id=" + std::to_string(k_application_id));
  m_database->exec("PRAGMA user_version=" + std::to_string(k_version));
  for (const std::string& statement : schema()) m_database->exec(statement);
  m_run_changed = true;
  for (const std::string& argument : m_run.arguments) {
    execute("INSERT INTO argument VALUES (NULL, ?)", argument);
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
  if (m_in_transaction && Clock::now() - m_last_commit >= k_longest) commit();
}

void RecordDatabase::store_run(const Run& run) {
  constexpr std::size_t k_other_columns = 21;
  static const std::string sql = "INSERT OR REPLACE INTO run VALUES (1" +
                                 repeated(", ?", k_counts.size() + k_other_columns) + ")";
  using Optional = std::optional<std::int64_t>;
  execute(sql.c_str(), run.counts, name_of(k_task_names, run.task), run.version, run.host, run.pid,
          run.storage_root, run.catalog, run.disk_pool, run.listing_hours, run.catalog_backup_time,
          run.threads, run.start_nanoseconds,
          run.end_nanoseconds == 0 ? Optional() : Optional(run.end_nanoseconds),
          name_of(k_ending_names, run.end.ending), run.end.text,
          run.end.ending == Ending::none ? Optional() : Optional(run.end.exit_status),
          run.catalog_aside, name_of(k_undo_names, run.undo), run.of_run, run.dirs, run.failed_dirs,
          run.skipped_dirs);
}

std::int64_t RecordDatabase::id_of(const std::string& client, const std::string& policy) {
  const bool is_last = m_last_pair_id != 0 && m_last_client == client && m_last_policy == policy;
  if (is_last) return m_last_pair_id;
  const auto known =
      find("SELECT id FROM client_policy WHERE client = ? AND policy = ?", client, policy);
  m_last_pair_id =
      known ? *known : execute("INSERT INTO client_policy VALUES (NULL, ?, ?)", client, policy);
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
  const std::int64_t id =
      execute("INSERT INTO orphan VALUES (NULL, ?, ?, ?, ?, ?, ?)", directory.id,
              orphan.backup_time, orphan.copy_number, orphan.pos, orphan.bytes, orphan.deleted);
  for (const std::string& basename : orphan.other_copies) {
    execute("INSERT INTO collateral VALUES (NULL, ?, ?)", id, basename);
  }
}

// Several rows at once take a third of the time of single ones, and a repair moves many.
void RecordDatabase::store(Directory& directory, const Moved& moved) {
  store(directory);
  const std::int64_t target = id_of(moved.target_client, directory.policy);
  for (auto next = moved.basenames.begin(); next != moved.basenames.end();) {
    const std::size_t left = static_cast<std::size_t>(moved.basenames.end() - next);
    const std::size_t rows = std::min(left, k_most_rows);
    StatementInUse insert(*m_database, m_statements, insertion_of(rows));
    bind(*insert, directory.id, target);
    for (int index = 1; index <= static_cast<int>(rows); ++index) {
      insert->bindNoCopy(2 + index, **next++);
    }
    insert->exec();
  }
}

void RecordDatabase::store(Directory& directory, const database::PORow& row) {
  store(directory);
  const std::int64_t id = directory.id * k_saved_of_directory + ++directory.saved_pos;
  execute("INSERT INTO saved VALUES (?, ?, ?, ?, ?, ?)", id, row);
}

void RecordDatabase::store(Directory& directory, const Collision& collision) {
  store(directory);
  execute("INSERT INTO collision VALUES (NULL, ?, ?, ?)", directory.id,
          id_of(collision.target_client, directory.policy), collision.basename);
}

void RecordDatabase::store(Directory& directory, const UnparsedName& name) {
  store(directory);
  execute("INSERT INTO unparsed VALUES (NULL, ?, ?, ?)", directory.id, name.basename, name.reason);
}

void RecordDatabase::store(const Made& made) {
  execute("INSERT INTO made VALUES (NULL, ?)", made.path);
}

void RecordDatabase::store(const MissingCopy& copy) {
  execute("INSERT INTO missing VALUES (NULL, ?, ?, ?)", id_of(copy.client, copy.policy),
          copy.backup_time, copy.copy_number);
}

void RecordDatabase::store(Severity severity, const std::string& text) {
  execute("INSERT INTO message VALUES (NULL, ?, ?)", name_of(k_severity_names, severity), text);
}

void RecordDatabase::store(const Link& link) {
  if (link.removed) {
    execute("UPDATE link SET removed = 1 WHERE path = ?", link.path);
  } else {
    execute("INSERT INTO link VALUES (NULL, ?, ?, 0)", link.path, link.target);
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
  execute(sql.c_str(), directory.counts, std::string(state), reason, directory.id);
}

void RecordDatabase::sync_commits() {
  commit();
  m_database->exec("PRAGMA synchronous=FULL");
}

// The switch changes bytes of one sector only, and a reader could not roll back a journal.
void RecordDatabase::close() {
  m_statements.clear();
  try {
    m_database->exec("PRAGMA journal_mode=OFF");
  } catch (const SQLite::Exception&) {
    // The log holds everything.
  }
  m_database.reset();
}

}  // namespace record
