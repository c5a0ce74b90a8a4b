#include "record/run_reader.h"

#include <algorithm>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

#include <SQLiteCpp/SQLiteCpp.h>

#include "platform/file_kind.h"
#include "platform/sqlite_connection.h"
#include "platform/statement_rows.h"
#include "platform/status.h"
#include "record/names.h"
#include "record/schema.h"

namespace record {

namespace {

// The columns of the row that a statement is on.
class Row {
 public:
  explicit Row(SQLite::Statement& statement) {
    for (int i = 0; i < statement.getColumnCount(); ++i) {
      m_columns.push_back(statement.getColumn(i));
    }
  }
  std::string text(std::size_t column) const {
    return std::string(platform::text_of(m_columns[column]));
  }
  std::int64_t number(std::size_t column) const { return m_columns[column].getInt64(); }
  // Of a count; whoever wrote a negative one is not believed.
  std::uint64_t count(std::size_t column) const {
    return static_cast<std::uint64_t>(std::max<std::int64_t>(0, number(column)));
  }
  std::uint32_t copy(std::size_t column) const {
    return static_cast<std::uint32_t>(number(column));
  }
  bool is_null(std::size_t column) const { return m_columns[column].isNull(); }
  DirCounts counts(std::size_t column) const {
    DirCounts counts;
    for (const Count& each : k_counts) counts.*each.value = count(column++);
    return counts;
  }

 private:
  std::vector<SQLite::Column> m_columns;
};

const std::string k_names_of_directory =
    " LEFT JOIN directory d ON d.id = directory LEFT JOIN client_policy p ON p.id = "
    "d.client_policy LEFT JOIN client_policy t ON t.id = target ";

// SQLite would wait for a pipe that somebody laid beside the file.
const std::string& with_files_beside(const std::string& file) {
  for (const char* suffix : {"-journal", "-wal", "-shm"}) {
    if (platform::file_kind(file + suffix) != platform::FileKind::special) continue;
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
    throw Cr_ErrnoException(platform::database_status(error), "could not read the record " + m_file,
                            error.what());
  }
}

template <class EachRow>
void RunReader::rows(const std::string& sql, std::int64_t most, EachRow each_row) {
  guarded([&] {
    SQLite::Statement statement(*m_database, sql + " LIMIT ?");
    statement.bind(1, most);
    if (!statement.executeStep()) return;
    const Row row(statement);  // whatever row the statement is on
    do {
      each_row(row);
    } while (statement.executeStep());
  });
}

RunReader::RunReader(std::string file)
    : m_file(std::move(file)),
      m_database(platform::open_database(with_files_beside(m_file), SQLite::OPEN_READONLY)) {
  guarded([this] { require_record(); });
}

RunReader::~RunReader() = default;

// The transaction stays open: all that is read is of one moment.
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
  rows("SELECT " + count_columns("") +
           "task, version, host, pid, storage_root, catalog, disk_pool, listing_hours, threads, "
           "started, ended, ending, ending_text, exit_status, catalog_aside, dirs, failed_dirs "
           "FROM run",
       1, [&](const Row& row) {
         std::size_t at = k_counts.size();
         is_there = true;
         run.counts = row.counts(0);
         run.task = value_of(k_task_names, row.text(at++));
         run.version = row.text(at++);
         run.host = row.text(at++);
         run.pid = row.number(at++);
         run.storage_root = row.text(at++);
         run.catalog = row.text(at++);
         run.disk_pool = row.text(at++);
         if (!row.is_null(at)) run.listing_hours = row.number(at);
         run.threads = row.number(++at);
         run.start_nanoseconds = row.number(++at);
         run.end_nanoseconds = row.number(++at);
         run.end.ending = value_of(k_ending_names, row.text(++at));
         run.end.text = row.text(++at);
         run.end.exit_status = static_cast<int>(row.number(++at));
         run.catalog_aside = row.text(++at);
         run.dirs = row.count(++at);
         run.failed_dirs = row.count(++at);
       });
  if (!is_there) {
    throw Cr_ErrnoException(k_status_malformed, "could not read the record " + m_file,
                            "it holds no run");
  }
  rows("SELECT text FROM argument", k_all,
       [&](const Row& row) { run.arguments.push_back(row.text(0)); });
  return run;
}

void RunReader::client_policies(const ClientPolicyVisitor& visit) {
  rows("SELECT id, client, policy FROM client_policy", k_all,
       [&](const Row& row) { visit(row.number(0), row.text(1), row.text(2)); });
}

void RunReader::directories(const Visitor<DirectoryRow>& visit) {
  rows("SELECT " + count_columns("") +
           "d.id, dsid, client, policy, client_policy, state, reason FROM directory d LEFT JOIN "
           "client_policy p ON p.id = client_policy",
       k_all, [&](const Row& row) {
         const std::size_t at = k_counts.size();
         const std::string state = row.text(at + 5);
         visit(
             {{row.text(at + 1), row.text(at + 2), row.text(at + 3), row.counts(0), row.number(at)},
              row.number(at + 4),
              state == k_done,
              state == k_failed,
              row.text(at + 6)});
       });
}

void RunReader::orphans(const Visitor<OrphanRow>& visit) {
  OrphanRow found;
  rows("SELECT id, directory, backup_time, copy, pos, bytes, deleted FROM orphan", k_all,
       [&](const Row& row) {
         found.id = row.number(0);
         found.directory = row.number(1);
         found.orphan.backup_time = row.number(2);
         found.orphan.copy_number = row.copy(3);
         found.orphan.pos = row.count(4);
         found.orphan.bytes = row.count(5);
         found.orphan.deleted = row.number(6) != 0;
         visit(found);
       });
}

void RunReader::missing(const Visitor<MissingRow>& visit) {
  rows("SELECT client_policy, backup_time, copy FROM missing", k_all, [&](const Row& row) {
    visit({row.number(0), row.number(1), row.copy(2)});
  });
}

void RunReader::collateral(const Visitor<CollateralRow>& visit, std::int64_t most) {
  rows(
      "SELECT client_policy, client, policy, backup_time, copy, basename FROM collateral LEFT JOIN "
      "orphan o ON "
      "o.id = orphan LEFT JOIN directory d ON d.id = directory LEFT JOIN client_policy p ON p.id = "
      "client_policy",
      most, [&](const Row& row) {
        visit({row.number(0), row.text(1), row.text(2), row.number(3), row.copy(4), row.text(5)});
      });
}

void RunReader::moves(const Visitor<MoveRow>& visit, std::int64_t most) {
  rows("SELECT p.client, p.policy, t.client, count(*) FROM moved" + k_names_of_directory +
           "GROUP BY directory, target ORDER BY count(*) DESC, moved.id",
       most, [&](const Row& row) {
         visit({row.text(0), row.text(1), row.text(2), row.count(3)});
       });
}

void RunReader::moved_basenames(const TextVisitor& visit) {
  rows("SELECT basename FROM moved", k_all, [&](const Row& row) { visit(row.text(0)); });
}

void RunReader::collisions(const Visitor<CollisionRow>& visit, std::int64_t most) {
  rows("SELECT p.client, p.policy, t.client, basename FROM collision" + k_names_of_directory, most,
       [&](const Row& row) {
         visit({row.text(0), row.text(1), {row.text(2), row.text(3)}});
       });
}

void RunReader::links(const Visitor<Link>& visit, std::int64_t most) {
  rows("SELECT path, target, removed FROM link", most, [&](const Row& row) {
    visit({row.text(0), row.text(1), row.number(2) != 0});
  });
}

void RunReader::unparsed(const Visitor<UnparsedRow>& visit, std::int64_t most) {
  rows(
      "SELECT client, policy, basename, u.reason FROM unparsed u LEFT JOIN directory d ON d.id = "
      "directory LEFT JOIN client_policy p ON p.id = client_policy",
      most, [&](const Row& row) {
        visit({row.text(0), row.text(1), {row.text(2), row.text(3)}});
      });
}

void RunReader::messages(Severity severity, const TextVisitor& visit, std::int64_t most) {
  rows("SELECT text FROM message WHERE severity = '" + name_of(k_severity_names, severity) + "'",
       most, [&](const Row& row) { visit(row.text(0)); });
}

std::uint64_t RunReader::count(const char* table) {
  std::uint64_t count = 0;
  rows(std::string("SELECT count(*) FROM ") + table, 1,
       [&](const Row& row) { count = row.count(0); });
  return count;
}

std::uint64_t RunReader::count(Severity severity) {
  std::uint64_t count = 0;
  rows(
      "SELECT count(*) FROM message WHERE severity = '" + name_of(k_severity_names, severity) + "'",
      1, [&](const Row& row) { count = row.count(0); });
  return count;
}

}  // namespace record
