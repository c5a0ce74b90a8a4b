#include "catalog/client_name_case/repair_podb.h"

#include "catalog/client_name_case/file_po.h"
#include "catalog/podb/basename_parts.h"

namespace fs = boost::filesystem;

namespace catalog::podb {

namespace {

// The condition for a basename that does not begin with the client's name, letter case included. The
// name means itself: what has a meaning in a pattern stands in brackets, a quote is doubled.
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

// Nothing was committed, and what is still open is rolled back with its database, whatever this says.
void roll_back(SQLitePODB& database) {
  (void)database.do_rollback_transaction();
}

class RolledBackAtEnd {
 public:
  explicit RolledBackAtEnd(SQLitePODB& database) : m_database(database) {}
  ~RolledBackAtEnd() { roll_back(m_database); }
  RolledBackAtEnd(const RolledBackAtEnd&) = delete;
  RolledBackAtEnd& operator=(const RolledBackAtEnd&) = delete;

 private:
  SQLitePODB& m_database;
};

// Not a PO that is missing or has a column of another type: these were read without an error.
bool is_damage(cr_status_t status) {
  return status != k_status_ok && status != k_status_db_no_such_po && status != k_status_malformed;
}

}  // namespace

RepairPODB::RepairPODB(const fs::path& policy_dir, RepairMessages& findings,
                       record::Directory& directory)
    : BaseVisitPODB(policy_dir, findings.log(), directory, SQLitePODB::Access::read_write),
      m_messages(findings) {}

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

// One may have the same bytes as a text, which moves; the two are different POs.
void RepairPODB::report_blobs(const Names& blobs) {
  for (const std::string& name : blobs) {
    if (match_prefix(name, client()) != PrefixMatch::other_case) continue;
    (void)write_error(ErrorType::get_from_source, k_status_malformed, policy_path(), name);
  }
}

// A name of the client's own spelling may be listed where the spelling ends inside a character.
// It is where it belongs; its source and target would be one file.
void RepairPODB::group_basenames(const Names& names, Groups& groups) const {
  std::string_view spelling;
  ChosenNames* group = nullptr;  // null where the spelling is another client's
  for (auto name = names.cbegin(); name != names.cend(); ++name) {
    // Names come in byte order: those of one spelling stand together.
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
  const fs::path target_dir =
      location().tree_root / std::to_string(location().dsid) / group->first / policy();
  SQLitePODB target(location().tree_root, target_dir);
  cr_status_t status = begin_both(target, target_dir);
  if (status != k_status_ok) return status;
  record::Moved moved;
  moved.target_client = group->first;
  status = copy_to_target(group, target, target_dir, moved.basenames);
  if (status == k_status_ok) status = remove_from_source(moved.basenames);
  if (status == k_status_ok && !moved.basenames.empty()) {
    m_messages.moving(directory(), moved, made_for(target));
    status = commit_both(target, target_dir);
  }
  roll_back(target);
  roll_back(podb());
  if (status != k_status_ok) return status;
  tally().moved_pos += moved.basenames.size();
  m_messages.moved(moved, policy_path(), target_dir);
  return k_status_ok;
}

RepairMessages::MadeForTarget RepairPODB::made_for(const SQLitePODB& target) const {
  const std::size_t above = location().tree_root.size() + 1;  // with the separator
  RepairMessages::MadeForTarget made;
  for (const std::string& path : target.made()) made.push_back({path.substr(above)});
  return made;
}

cr_status_t RepairPODB::begin_both(SQLitePODB& target, const fs::path& target_dir) {
  cr_status_t status = target.do_begin_transaction();
  if (status != k_status_ok) return write_error(ErrorType::begin_target, status, target_dir, "");
  status = podb().do_begin_transaction();
  if (status == k_status_ok) return status;
  roll_back(target);
  return write_error(ErrorType::begin_source, status, policy_path(), "");
}

// A transaction that has met damage can no longer be committed, and a PO that cannot be read is to stay
// where it is without holding up the others. So a damaged source is read through a second connection.
// The group at hand is copied again then: SQLite may have ended the transaction, and with it the lock.
// The reader ends its transaction before anything is removed, which would wait for it.
cr_status_t RepairPODB::copy_to_target(Groups::const_iterator group, SQLitePODB& target,
                                       const fs::path& target_dir, ChosenNames& copied) {
  m_reported.clear();
  m_saved.clear();
  cr_status_t status = k_status_ok;
  if (!m_source_is_damaged) {
    status = copy_group(group, podb(), target, target_dir, copied);
    if (!m_source_is_damaged) return status;
    copied.clear();
    roll_back(target);
    roll_back(podb());
    status = begin_both(target, target_dir);
    if (status != k_status_ok) return status;
    m_reader = std::make_unique<SQLitePODB>(location().tree_root.string(), policy_path().string());
  }
  status = m_reader->do_begin_transaction();
  if (status != k_status_ok) return write_error(ErrorType::begin_source, status, policy_path(), "");
  const RolledBackAtEnd lets_go(*m_reader);
  return copy_group(group, *m_reader, target, target_dir, copied);
}

cr_status_t RepairPODB::copy_group(Groups::const_iterator group, SQLitePODB& source,
                                   SQLitePODB& target, const fs::path& target_dir,
                                   ChosenNames& copied) {
  FilePO po;
  for (const Names::const_iterator& name : group->second) {
    cr_status_t status = source.get(*name, po);
    if (is_damage(status) && &source == &podb()) {
      m_source_is_damaged = true;
      return status;
    }
    if (status != k_status_ok) {
      report_unreadable(status, *name);
      continue;
    }
    status = copy_po(po, target, *name, target_dir);
    if (status == k_status_handled) continue;
    if (status != k_status_ok) return status;
    copied.push_back(name);
  }
  return k_status_ok;
}

// It stays.
void RepairPODB::report_unreadable(cr_status_t status, const std::string& basename) {
  if (!m_reported.insert(basename).second) return;
  (void)write_error(ErrorType::get_from_source, status, policy_path(), basename);
}

// Most targets have no PO of the name: the insertion finds that out, and only then is one compared. A
// failed insertion may have ended the transaction, so nothing is stored after it; the lookup decides
// only which error is reported.
cr_status_t RepairPODB::copy_po(FilePO& po, SQLitePODB& target, const std::string& basename,
                                const fs::path& target_dir) {
  cr_status_t status = target.put_new(&po);
  if (status == k_status_handled) {
    status = found_collision(po, target, basename, target_dir);
    if (status != k_status_ok) return status;
    status = target.put(&po);
  } else if (status != k_status_ok) {
    FilePO existing;
    const cr_status_t looked = get_from_target(target, basename, existing, target_dir);
    if (looked != k_status_ok && looked != k_status_db_no_such_po) return looked;
  }
  if (status == k_status_ok) return k_status_ok;
  return write_error(ErrorType::put_to_target, status, target_dir, basename);
}

// A PO that is not there is no error.
cr_status_t RepairPODB::get_from_target(SQLitePODB& target, const std::string& basename, FilePO& po,
                                        const fs::path& target_dir) {
  const cr_status_t status = target.get(basename, po);
  if (status == k_status_ok || status == k_status_db_no_such_po) return status;
  return write_error(ErrorType::get_from_target, status, target_dir, basename);
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

// The target first: whatever happens in between leaves the POs in both databases, never in neither.
cr_status_t RepairPODB::commit_both(SQLitePODB& target, const fs::path& target_dir) {
  cr_status_t status = target.do_commit_transaction();
  if (status != k_status_ok) return write_error(ErrorType::commit_target, status, target_dir, "");
  status = podb().do_commit_transaction();
  if (status == k_status_ok) return status;
  return write_error(ErrorType::commit_source, status, policy_path(), "");
}

cr_status_t RepairPODB::found_collision(FilePO& po, SQLitePODB& target, const std::string& basename,
                                        const fs::path& target_dir) {
  FilePO existing;
  const cr_status_t status = get_from_target(target, basename, existing, target_dir);
  if (status == k_status_db_no_such_po) return k_status_ok;
  if (status != k_status_ok) return status;
  if (POGetHashRef(existing) == POGetHashRef(po)) return save_replaced(po, target, basename);
  report_collision(po, basename, target_dir);
  return k_status_handled;
}

// A move that was cut short before has left the same; whatever else is replaced is in the record first.
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
