#include "catalog/restore/move_back_podb.h"

#include "status/status.h"

namespace fs = boost::filesystem;

namespace catalog::podb {

namespace {

using database::Value;

void require(cr_status_t status, const std::string& what, const fs::path& dir) {
  if (status == k_status_ok) return;
  throw Cr_ErrnoException(
      status, "unable to " + what + " for " + dir.string() + ": " + CRStatusToStringA(status));
}

// What is not there has no PO.
cr_status_t get(SQLitePODB& podb, const std::string& name, database::PORow& row) {
  return podb.is_there() ? podb.get_row(Value(name), row) : k_status_db_no_such_po;
}

}  // namespace

MoveBackPODB::MoveBackPODB(const fs::path& tree_root, RestoredDir& source, const fs::path& target,
                           const Rows& replaced, RestoreMessages& findings, bool dry_run)
    : m_source_dir(source),
      m_target_dir(target),
      m_replaced(replaced),
      m_messages(findings),
      m_dry_run(dry_run) {
  if (target == source.path) {
    throw Cr_ErrnoException(k_status_malformed, "the record moves POs from a directory to itself");
  }
  const std::string& root = tree_root.string();
  m_reader = std::make_unique<SQLitePODB>(root, target.string());
  if (dry_run) {
    m_source = std::make_unique<SQLitePODB>(root, source.path.string());
    return;
  }
  m_target = std::make_unique<SQLitePODB>(root, target.string(), SQLitePODB::Access::read_write);
  m_source = std::make_unique<SQLitePODB>(tree_root, source.path);
}

// The target is read through a connection of its own: a transaction that meets damage cannot be
// committed. It lets go before anything is removed, which would wait for it.
void MoveBackPODB::move_back(const Names& names) {
  m_stored = 0;
  m_copied.clear();
  begin();
  copy(names);
  if (m_reader->is_there()) end(*m_reader, false);
  // The source first: whatever happens in between leaves the POs in both databases, never in neither.
  if (m_source->is_there()) end(*m_source, m_stored != 0 && !m_dry_run);
  if (!m_dry_run && m_target->is_there()) remove_from_target();
  m_source_dir.directory.counts.restored_pos += m_stored;
}

// For writing on both, before anything is done.
void MoveBackPODB::begin() {
  if (!m_dry_run && m_target->is_there()) {
    require(m_target->do_begin_transaction(), "begin a transaction", m_target_dir);
  }
  if (m_source->is_there()) {
    require(m_source->do_begin_transaction(), "begin a transaction", m_source_dir.path);
  }
  if (m_reader->is_there()) {
    require(m_reader->do_begin_transaction(), "begin a transaction", m_target_dir);
  }
}

void MoveBackPODB::copy(const Names& names) {
  for (const std::string& name : names) copy(name);
}

void MoveBackPODB::copy(const std::string& name) {
  const cr_status_t in_target = get(*m_reader, name, m_row);
  const auto replaced = m_replaced.find(name);
  const bool is_replaced = replaced != m_replaced.end();
  if (in_target == k_status_ok) {
    if (is_replaced && replaced->second == m_row) return find_in_source(name);
    if (is_in_source(name)) m_copied.push_back(name);
    return;
  }
  if (in_target != k_status_db_no_such_po) {
    m_messages.unreadable(m_target_dir, name, CRStatusToStringA(in_target));
    return;
  }
  find_in_source(name);
  if (is_replaced) m_copied.push_back(name);  // what was replaced is still to come back
}

// For one that has left the target.
void MoveBackPODB::find_in_source(const std::string& name) {
  const cr_status_t in_source = get(*m_source, name, m_row_in_source);
  if (in_source == k_status_db_no_such_po) {
    m_messages.gone(m_source_dir, m_target_dir, name);
    return;
  }
  require(in_source, "get a PO", m_source_dir.path);
  ++m_source_dir.there_already;
}

bool MoveBackPODB::is_in_source(const std::string& name) {
  const cr_status_t status = get(*m_source, name, m_row_in_source);
  if (status == k_status_db_no_such_po) {
    if (!m_dry_run) require(m_source->put_new_row(m_row), "store a PO", m_source_dir.path);
    ++m_stored;
    return true;
  }
  require(status, "get a PO", m_source_dir.path);
  if (m_row == m_row_in_source) {
    ++m_source_dir.there_already;  // a move that was cut short
    return true;
  }
  m_messages.collision(m_source_dir, name);
  return false;
}

void MoveBackPODB::end(SQLitePODB& podb, bool has_changes) const {
  const fs::path& dir = &podb == m_source.get() ? m_source_dir.path : m_target_dir;
  require(has_changes ? podb.do_commit_transaction() : podb.do_rollback_transaction(),
          "commit a transaction", dir);
}

void MoveBackPODB::remove_from_target() {
  for (const std::string& name : m_copied) {
    const auto replaced = m_replaced.find(name);
    const bool is_replaced = replaced != m_replaced.end();
    const cr_status_t status = m_target->remove(name);
    const bool was_gone = is_replaced && status == k_status_db_no_such_po;
    if (!was_gone) require(status, "remove a PO", m_target_dir);
    if (is_replaced) require(m_target->put_new_row(replaced->second), "store a PO", m_target_dir);
  }
  end(*m_target, !m_copied.empty());
}

}  // namespace catalog::podb
