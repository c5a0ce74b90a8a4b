#include "undo/restore/move_back_podb.h"

#include "status/status.h"

namespace fs = boost::filesystem;

namespace catalog::podb {

namespace {

void require(cr_status_t status, const std::string& what, const fs::path& dir) {
  if (status == k_status_ok) return;
  throw Cr_ErrnoException(
      status, "unable to " + what + " for " + dir.string() + ": " + CRStatusToStringA(status));
}

// A missing database has no PO.
cr_status_t get(SQLitePODB& podb, const std::string& name, database::PORow& row) {
  return podb.is_there() ? podb.get_row(database::Value(name), row) : k_status_db_no_such_po;
}

}  // namespace

MoveBackPODB::MoveBackPODB(const fs::path& tree_root, RestoredDir& source, const fs::path& target,
                           const Rows& replaced, RestoreMessages& messages, bool dry_run)
    : m_source_dir(source),
      m_target_dir(target),
      m_replaced(replaced),
      m_messages(messages),
      m_dry_run(dry_run) {
  if (target == source.path) {
    throw Cr_ErrnoException(k_status_malformed, "the record moves POs from a directory to itself");
  }
  const std::string& root = tree_root.string();
  m_reader = std::make_unique<Side>(root, target.string());
  if (dry_run) {
    m_source = std::make_unique<Side>(root, source.path.string());
    return;
  }
  m_target = std::make_unique<Side>(root, target.string(), SQLitePODB::Access::read_write);
  m_source = std::make_unique<Side>(tree_root, source.path);
}

// The target is read through its own connection: a transaction that meets damage cannot be
// committed. The reader's transaction ends before anything is removed: the removal would wait for
// it.
void MoveBackPODB::move_back(const Names& names) {
  m_stored = 0;
  m_copied.clear();
  begin();
  for (const std::string& name : names) copy(name);
  end(*m_reader, false);
  // The source first: a crash between the two leaves the POs in both databases, never in neither.
  end(*m_source, m_stored != 0 && !m_dry_run);
  if (!m_dry_run && m_target->podb.is_there()) remove_from_target();
  m_source_dir.directory.counts.restored_pos += m_stored;
}

// First the databases that are written to, before any work.
void MoveBackPODB::begin() {
  const auto begin_one = [](Side* side, const fs::path& dir) {
    if (side == nullptr || !side->podb.is_there()) return;
    require(side->transaction.begin(), "begin a transaction", dir);
  };
  begin_one(m_target.get(), m_target_dir);
  begin_one(m_source.get(), m_source_dir.path);
  begin_one(m_reader.get(), m_target_dir);
}

void MoveBackPODB::copy(const std::string& name) {
  const cr_status_t in_target = get(m_reader->podb, name, m_row);
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
  if (is_replaced) m_copied.push_back(name);  // the replaced row must still come back
}

// For a PO that is no longer in the target.
void MoveBackPODB::find_in_source(const std::string& name) {
  const cr_status_t in_source = get(m_source->podb, name, m_row_in_source);
  if (in_source == k_status_db_no_such_po) {
    m_messages.gone(m_source_dir, m_target_dir, name);
    return;
  }
  require(in_source, "get a PO", m_source_dir.path);
  ++m_source_dir.there_already;
}

bool MoveBackPODB::is_in_source(const std::string& name) {
  const cr_status_t status = get(m_source->podb, name, m_row_in_source);
  if (status == k_status_db_no_such_po) {
    if (!m_dry_run) require(m_source->podb.put_new_row(m_row), "store a PO", m_source_dir.path);
    ++m_stored;
    return true;
  }
  require(status, "get a PO", m_source_dir.path);
  if (m_row == m_row_in_source) {
    ++m_source_dir.there_already;  // an interrupted move
    return true;
  }
  m_messages.collision(m_source_dir, name);
  return false;
}

void MoveBackPODB::end(Side& side, bool has_changes) const {
  const fs::path& dir = &side == m_source.get() ? m_source_dir.path : m_target_dir;
  require(has_changes ? side.transaction.commit() : side.transaction.roll_back(),
          "commit a transaction", dir);
}

void MoveBackPODB::remove_from_target() {
  for (const std::string& name : m_copied) {
    const auto replaced = m_replaced.find(name);
    const bool is_replaced = replaced != m_replaced.end();
    const cr_status_t status = m_target->podb.remove(name);
    const bool was_gone = is_replaced && status == k_status_db_no_such_po;
    if (!was_gone) require(status, "remove a PO", m_target_dir);
    if (is_replaced)
      require(m_target->podb.put_new_row(replaced->second), "store a PO", m_target_dir);
  }
  end(*m_target, !m_copied.empty());
}

}  // namespace catalog::podb
