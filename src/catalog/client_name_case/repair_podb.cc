#include "catalog/client_name_case/repair_podb.h"

#include "catalog/client_name_case/file_po.h"
#include "catalog/podb/basename_parts.h"
#include "podb/podb_transaction.h"

namespace fs = boost::filesystem;

namespace catalog::podb {

using database::PODBTransaction;

// The target of a group, and the transactions on both sides. The source's outlives the target's.
struct RepairPODB::Target {
  Target(SQLitePODB& source, const fs::path& tree_root, const fs::path& target_dir)
      : dir(target_dir),
        podb(tree_root, target_dir),
        source_transaction(source),
        transaction(podb) {}

  void roll_back_both() {
    (void)transaction.roll_back();  // what stays open is rolled back with its database
    (void)source_transaction.roll_back();
  }

  const fs::path dir;
  SQLitePODB podb;
  PODBTransaction source_transaction;
  PODBTransaction transaction;
};

namespace {

// The SQL condition for basenames that do not begin with the client's name in its letter case. The
// name is a literal: pattern characters are put in brackets, quotes are doubled.
std::string condition_for_other_names(const std::string& client) {
  std::string pattern;
  for (const char c : client) {
    if (c == '*' || c == '?' || c == '[') {
      pattern += std::string("[") + c + "]";
    } else {
      pattern += std::string(c == '\'' ? 2 : 1, c);
    }
  }
  return "basename NOT GLOB '" + pattern + "*'";
}

// A PO that is missing or has a column of another type was read without an error.
bool is_damage(cr_status_t status) {
  return status != k_status_ok && status != k_status_db_no_such_po && status != k_status_malformed;
}

}  // namespace

RepairPODB::RepairPODB(const fs::path& policy_dir, RepairMessages& messages,
                       record::Directory& directory)
    : BaseVisitPODB(policy_dir, messages.log(), directory, SQLitePODB::Access::read_write),
      m_messages(messages) {}

int RepairPODB::visit_podb_impl() {
  Names names;
  Names blobs;
  cr_status_t status = podb().get_basenames(names, condition_for_other_names(client()), &blobs);
  if (status != k_status_ok) return write_error(ErrorType::list_source, status, policy_path(), "");
  tally().pos = names.size() + blobs.size();
  if (tally().pos == 0) return k_status_ok;
  m_messages.case_issues(directory());
  report_blobs(blobs);
  Groups groups;
  group_basenames(names, groups);
  for (auto group = groups.cbegin(); group != groups.cend() && status == k_status_ok; ++group) {
    status = move_basenames_group(group);
  }
  if (status != k_status_ok) return status;
  return m_collision_found ? k_status_handled : k_status_ok;
}

// A BLOB may have the same bytes as a text that moves; they are different POs.
void RepairPODB::report_blobs(const Names& blobs) {
  for (const std::string& name : blobs) {
    if (match_prefix(name, client()) != PrefixMatch::other_case) continue;
    (void)write_error(ErrorType::get_from_source, k_status_malformed, policy_path(), name);
  }
}

// A basename in the client's own spelling may be listed if the spelling ends inside a character. It
// is in its place: its source and target would be one file.
void RepairPODB::group_basenames(const Names& names, Groups& groups) const {
  std::string_view spelling;
  ChosenNames* group = nullptr;  // null for the spelling of another client
  for (auto name = names.cbegin(); name != names.cend(); ++name) {
    // Names come in byte order, so those of one spelling are consecutive.
    const std::string_view prefix = std::string_view(*name).substr(0, client().size());
    if (prefix != spelling || name == names.cbegin()) {
      spelling = prefix;
      const bool is_ours = match_prefix(*name, client()) == PrefixMatch::other_case;
      group = is_ours ? &groups[std::string(spelling)] : nullptr;
    }
    if (group != nullptr) group->push_back(name);
  }
}

cr_status_t RepairPODB::move_basenames_group(Groups::const_iterator group) {
  Target target(podb(), location().tree_root,
                location().tree_root / std::to_string(location().dsid) / group->first / policy());
  cr_status_t status = begin_both(target);
  if (status != k_status_ok) return status;
  record::Moved moved;
  moved.target_client = group->first;
  status = copy_to_target(group, target, moved.basenames);
  if (status == k_status_ok) status = remove_from_source(moved.basenames);
  if (status != k_status_ok) return status;
  if (moved.basenames.empty()) {
    target.roll_back_both();
  } else {
    m_messages.moving(directory(), moved, made_for(target.podb));
    status = commit_both(target);
    if (status != k_status_ok) return status;
  }
  tally().moved_pos += moved.basenames.size();
  m_messages.moved(moved, policy_path(), target.dir);
  return k_status_ok;
}

RepairMessages::MadeForTarget RepairPODB::made_for(const SQLitePODB& target) const {
  const std::size_t above = location().tree_root.size() + 1;  // with the separator
  RepairMessages::MadeForTarget made;
  for (const std::string& path : target.made()) made.push_back({path.substr(above)});
  return made;
}

cr_status_t RepairPODB::begin_both(Target& target) {
  cr_status_t status = target.transaction.begin();
  if (status != k_status_ok) return write_error(ErrorType::begin_target, status, target.dir, "");
  status = target.source_transaction.begin();
  if (status == k_status_ok) return status;
  (void)target.transaction.roll_back();
  return write_error(ErrorType::begin_source, status, policy_path(), "");
}

// A transaction that met damage cannot be committed, and an unreadable PO must not stop the others.
// So a damaged source is read through a second connection. The group is then copied again: SQLite
// may have ended the transaction, and with it the lock. The reader's transaction ends before
// anything is removed: the removal would wait for it.
cr_status_t RepairPODB::copy_to_target(Groups::const_iterator group, Target& target,
                                       ChosenNames& copied) {
  m_reported.clear();
  m_saved.clear();
  cr_status_t status = k_status_ok;
  if (!m_source_is_damaged) {
    status = copy_group(group, podb(), target, copied);
    if (!m_source_is_damaged) return status;
    copied.clear();
    target.roll_back_both();
    status = begin_both(target);
    if (status != k_status_ok) return status;
    m_reader = std::make_unique<SQLitePODB>(location().tree_root.string(), policy_path().string());
  }
  PODBTransaction reading(*m_reader);
  status = reading.begin();
  if (status != k_status_ok) return write_error(ErrorType::begin_source, status, policy_path(), "");
  return copy_group(group, *m_reader, target, copied);
}

cr_status_t RepairPODB::copy_group(Groups::const_iterator group, SQLitePODB& source, Target& target,
                                   ChosenNames& copied) {
  FilePO po;
  for (const Names::const_iterator& name : group->second) {
    cr_status_t status = source.get(*name, po);
    if (is_damage(status) && &source == &podb()) {
      m_source_is_damaged = true;
      return status;
    }
    if (status != k_status_ok) {
      const bool is_reported = !m_reported.insert(*name).second;
      if (!is_reported) (void)write_error(ErrorType::get_from_source, status, policy_path(), *name);
      continue;
    }
    status = copy_po(po, target, *name);
    if (status == k_status_handled) continue;
    if (status != k_status_ok) return status;
    copied.push_back(name);
  }
  return k_status_ok;
}

// Most targets have no PO of that name: only a failed insertion asks for a comparison. Another
// failure may have ended the transaction, so nothing is stored after it; the lookup only selects
// the error to report.
cr_status_t RepairPODB::copy_po(FilePO& po, Target& target, const std::string& basename) {
  cr_status_t status = target.podb.put_new(&po);
  if (status == k_status_handled) {
    status = found_collision(po, target, basename);
    if (status != k_status_ok) return status;
    status = target.podb.put(&po);
  } else if (status != k_status_ok) {
    FilePO existing;
    const cr_status_t looked = get_from_target(target, basename, existing);
    if (looked != k_status_ok && looked != k_status_db_no_such_po) return looked;
  }
  if (status == k_status_ok) return k_status_ok;
  return write_error(ErrorType::put_to_target, status, target.dir, basename);
}

// A missing PO is no error.
cr_status_t RepairPODB::get_from_target(Target& target, const std::string& basename, FilePO& po) {
  const cr_status_t status = target.podb.get(basename, po);
  if (status == k_status_ok || status == k_status_db_no_such_po) return status;
  return write_error(ErrorType::get_from_target, status, target.dir, basename);
}

cr_status_t RepairPODB::remove_from_source(const ChosenNames& basenames) {
  for (const Names::const_iterator& basename : basenames) {
    const cr_status_t status = podb().remove(*basename);
    if (status != k_status_ok) {
      return write_error(ErrorType::remove_from_source, status, policy_path(), *basename);
    }
  }
  return k_status_ok;
}

// The target first: a crash between the two leaves the POs in both databases, never in neither.
cr_status_t RepairPODB::commit_both(Target& target) {
  cr_status_t status = target.transaction.commit();
  if (status != k_status_ok) return write_error(ErrorType::commit_target, status, target.dir, "");
  status = target.source_transaction.commit();
  if (status == k_status_ok) return status;
  return write_error(ErrorType::commit_source, status, policy_path(), "");
}

cr_status_t RepairPODB::found_collision(FilePO& po, Target& target, const std::string& basename) {
  FilePO existing;
  const cr_status_t status = get_from_target(target, basename, existing);
  if (status == k_status_db_no_such_po) return k_status_ok;
  if (status != k_status_ok) return status;
  if (POGetHashRef(existing) == POGetHashRef(po)) return save_replaced(po, target.podb, basename);
  report_collision(po, basename, target.dir);
  return k_status_handled;
}

// An interrupted move leaves the same PO. If it differs, the record has it before it is replaced.
cr_status_t RepairPODB::save_replaced(const FilePO& po, SQLitePODB& target,
                                      const std::string& basename) {
  const POData& data = po.data();
  const database::PORow moved{data.basename, data.poid, data.size, data.mtime,
                              database::Blob{data.record}};
  database::PORow existing;
  const cr_status_t status = target.get_row(database::Value(basename), existing);
  if (status != k_status_ok || existing == moved) return status;
  if (m_saved.insert(basename).second) m_messages.replacing(directory(), existing);
  return status;
}

void RepairPODB::report_collision(const FilePO& po, const std::string& basename,
                                  const fs::path& target_dir) {
  if (!m_reported.insert(basename).second) return;
  m_collision_found = true;
  ++tally().collisions;
  std::string text;
  po.to_string(text);
  const std::string target_client = target_dir.parent_path().filename().string();
  m_messages.collision(directory(), {target_client, basename}, policy_path(), text);
}

cr_status_t RepairPODB::write_error(ErrorType type, cr_status_t status, const fs::path& dir,
                                    const std::string& basename) {
  m_last_error = m_messages.database_error(directory(), type, status, dir, basename);
  return status;
}

}  // namespace catalog::podb
