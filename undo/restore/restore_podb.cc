#include "undo/restore/restore_podb.h"

#include <string>
#include <variant>

#include "record/run_reader.h"
#include "record/schema.h"
#include "undo/restore/base_restore.h"

namespace fs = boost::filesystem;

namespace catalog::podb {

namespace {

// The basename of a PO as reports show it.
std::string name_of(const database::PORow& row) {
  if (const auto* text = std::get_if<std::string>(&row.front())) return *text;
  if (const auto* blob = std::get_if<database::Blob>(&row.front())) return blob->bytes;
  return "(a number)";
}

}  // namespace

RestorePODB::RestorePODB(const fs::path& tree_root, RestoredDir& dir, RestoreMessages& messages,
                         bool dry_run)
    : m_dir(dir),
      m_messages(messages),
      m_dry_run(dry_run),
      m_podb(dry_run ? std::make_unique<SQLitePODB>(tree_root.string(), dir.path.string())
                     : std::make_unique<SQLitePODB>(tree_root, dir.path)),
      m_transaction(*m_podb) {}

// The record is read a few rows at a time, so that a transaction can end between two readings.
void RestorePODB::restore(record::RunReader& saved, std::int64_t id) {
  constexpr std::uint64_t k_rows = 500;
  constexpr std::chrono::seconds k_longest(1);
  std::int64_t last = id * record::k_saved_of_directory;
  const std::string end = std::to_string(last + record::k_saved_of_directory);
  begin();
  for (std::uint64_t rows = k_rows; rows == k_rows;) {
    rows = 0;
    saved.rows(
        "SELECT id, basename, poid, size, mtime, record FROM saved WHERE id > " +
            std::to_string(last) + " AND id < " + end + " ORDER BY id",
        [&](const record::RunReader::Row& row) {
          ++rows;
          last = row.number(0);
          row.po(1, m_row);
          put_back();
        },
        k_rows);
    if (rows < k_rows || Clock::now() - m_begin < k_longest) continue;
    commit();
    stop_if_interrupted();
    begin();
  }
  commit();
}

void RestorePODB::begin() {
  m_begin = Clock::now();
  m_stored = 0;
  if (m_dry_run && !m_podb->is_there()) return;
  const cr_status_t status = m_transaction.begin();
  if (status != k_status_ok) fail("begin a transaction", status);
}

// Without stored POs nothing is written, and no database is created.
void RestorePODB::commit() {
  const bool has_changes = m_stored != 0 && !m_dry_run;
  const cr_status_t status = has_changes ? m_transaction.commit() : m_transaction.roll_back();
  if (status != k_status_ok) fail("commit a transaction", status);
  m_dir.directory.counts.restored_pos += m_stored;
}

// The name is nearly always free, so the insertion comes before any lookup.
void RestorePODB::put_back() {
  if (m_dry_run) return compare();
  const cr_status_t status = m_podb->put_new_row(m_row);
  if (status == k_status_handled) return compare();
  if (status != k_status_ok) fail("store a PO", status);
  ++m_stored;
}

void RestorePODB::compare() {
  const bool is_there = m_podb->is_there();
  const cr_status_t status =
      is_there ? m_podb->get_row(m_row.front(), m_existing_row) : k_status_db_no_such_po;
  if (status == k_status_db_no_such_po && m_dry_run) {
    ++m_stored;
  } else if (status != k_status_ok) {
    fail("get a PO", status);
  } else if (m_row == m_existing_row) {
    ++m_dir.there_already;
  } else {
    m_messages.collision(m_dir, name_of(m_row));
  }
}

void RestorePODB::fail(const char* what, cr_status_t status) const {
  throw Cr_ErrnoException(status,
                          std::string("unable to ") + what + ": " + CRStatusToStringA(status));
}

}  // namespace catalog::podb
