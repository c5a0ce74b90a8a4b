#include "undo/restore/restore_repair.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <boost/filesystem/operations.hpp>

#include "catalog/podb/policy_location.h"
#include "files/storage_layout.h"
#include "files/sync.h"
#include "podb/podb_removal.h"
#include "record/run_reader.h"
#include "record/schema.h"
#include "signals/interrupt.h"

namespace fs = boost::filesystem;

namespace catalog {

namespace {

// A repair leaves no symbolic link in the metadata tree. A later link, perhaps of an earlier
// restore, leads to paths that the repair did not create, or out of the tree.
bool leads_through_link(const fs::path& tree_root, fs::path path) {
  boost::system::error_code error;
  for (; path != tree_root && !path.empty(); path = path.parent_path()) {
    if (fs::is_symlink(fs::symlink_status(path, error))) return true;
  }
  return false;
}

// The rows that the POs of a directory replaced in their targets. They are few: only a PO with the
// same POID is replaced.
podb::MoveBackPODB::Rows replaced_by(std::int64_t directory, record::RunReader& reader) {
  podb::MoveBackPODB::Rows rows;
  const std::string each = std::to_string(record::k_saved_of_directory);
  const std::string id = std::to_string(directory);
  reader.rows("SELECT basename, poid, size, mtime, record FROM saved WHERE id > " + id + " * " +
                  each + " AND id < (" + id + " + 1) * " + each + " ORDER BY id",
              [&](const record::RunReader::Row& row) {
                database::PORow replaced;
                row.po(0, replaced);
                rows.emplace(row.text(0), replaced);
              });
  return rows;
}

}  // namespace

// The rows of a group are consecutive, so memory grows only with the number of groups.
RestoreRepair::RestoreRepair(const fs::path& log_dir, const fs::path& tree_root,
                             unsigned num_threads, const RestoreRequest& request)
    : BaseRestore(log_dir, tree_root, num_threads, request,
                  "d.id IN (SELECT directory FROM moved)") {
  const auto reader = readers().lend();
  std::int64_t last_dir = 0;
  reader->rows("SELECT id, directory, target FROM moved ORDER BY id",
               [&](const record::RunReader::Row& row) {
                 const std::int64_t id = row.number(0);
                 const std::int64_t dir = row.number(1);
                 std::vector<Moves>& moves = m_moves[dir];
                 const bool goes_on = dir == last_dir && moves.back().target == row.number(2);
                 if (goes_on) moves.back().last = id;
                 if (!goes_on) moves.push_back({id, id, row.number(2)});
                 last_dir = dir;
               });
}

void RestoreRepair::restore(RestoredDir& dir, std::int64_t id, record::RunReader& reader) {
  const podb::PolicyLocation location(dir.path);
  const util::KeyLock alone(m_spellings_locks, podb::spellings_lock_name(location));
  const podb::MoveBackPODB::Rows replaced = replaced_by(id, reader);
  for (const Moves& moves : m_moves.at(id)) {
    restore(dir, moves, replaced, reader);
  }
}

void RestoreRepair::restore(RestoredDir& dir, const Moves& moves,
                            const podb::MoveBackPODB::Rows& replaced, record::RunReader& reader) {
  constexpr std::int64_t k_most_names = 10000;
  const podb::PolicyLocation location(dir.path);
  std::string client;
  reader.rows("SELECT client FROM client_policy WHERE id = " + std::to_string(moves.target),
              [&](const record::RunReader::Row& row) { client = row.text(0); });
  const std::string target = std::to_string(location.dsid) + "/" + client + "/" + location.policy;
  podb::MoveBackPODB podb(tree_root(), dir, below_tree_root(tree_root(), target), replaced,
                          messages(), request().dry_run);
  podb::MoveBackPODB::Names names;
  for (std::int64_t first = moves.first; first <= moves.last;) {
    names.clear();
    reader.rows(
        "SELECT basename, id FROM moved WHERE id BETWEEN " + std::to_string(first) + " AND " +
            std::to_string(moves.last) + " ORDER BY id",
        [&](const record::RunReader::Row& row) {
          names.push_back(row.text(0));
          first = row.number(1) + 1;
        },
        k_most_names);
    podb.move_back(names);
    if (first <= moves.last) stop_if_interrupted();
  }
}

void RestoreRepair::summarize_impl() {
  if (reached_end()) {
    const auto reader = readers().lend();
    remove_made_paths(*reader);
    if (request().wanted.are_all()) restore_links(*reader);
  }
  BaseRestore::summarize_impl();
}

void RestoreRepair::remove_made_paths(record::RunReader& reader) {
  reader.rows("SELECT path FROM made ORDER BY id DESC", [&](const record::RunReader::Row& row) {
    if (util::interrupted()) return;
    const fs::path made = below_tree_root(tree_root(), row.text(0));
    if (leads_through_link(tree_root(), made)) return;
    if (!request().dry_run) return remove_made(made);
    boost::system::error_code error;
    if (fs::exists(fs::symlink_status(made, error))) messages().removed(made);
  });
}

// A directory or database that is not empty stays.
void RestoreRepair::remove_made(const fs::path& made) {
  boost::system::error_code error;
  const fs::file_status status = fs::symlink_status(made, error);
  bool is_gone = false;
  try {
    if (fs::is_directory(status)) {
      is_gone = ::rmdir(made.c_str()) == 0;
      const bool is_in_use = errno == ENOTEMPTY || errno == EEXIST;
      if (!is_gone && !is_in_use) messages().not_removed(made, std::strerror(errno));
    } else if (fs::is_regular_file(status) && made.filename() == layout::k_po_database) {
      is_gone = database::remove_podb_without_pos(made.parent_path());
    }
  } catch (const Cr_ErrnoException& fault) {
    messages().not_removed(made, fault.GetString());
  }
  if (is_gone) messages().removed(made);
}

void RestoreRepair::restore_links(record::RunReader& reader) {
  reader.rows("SELECT path, target FROM link ORDER BY id", [&](const record::RunReader::Row& row) {
    if (util::interrupted()) return;
    restore_link(below_tree_root(tree_root(), row.text(0)), row.text(1));
  });
}

void RestoreRepair::restore_link(const fs::path& link, const std::string& target) {
  boost::system::error_code error;
  const fs::file_status status = fs::symlink_status(link, error);
  if (fs::is_symlink(status) && fs::read_symlink(link, error).string() == target) return;
  if (status.type() != fs::file_not_found) return messages().link_collision(link);
  const fs::path dir = link.parent_path();
  if (!fs::is_directory(dir, error)) {
    return messages().link_not_restored(link, "its directory is not there");
  }
  if (leads_through_link(tree_root(), dir)) {
    return messages().link_not_restored(link, "another symbolic link leads to its directory");
  }
  if (!request().dry_run) {
    if (::symlink(target.c_str(), link.c_str()) != 0) {
      return messages().link_not_restored(link, std::strerror(errno));
    }
    files::sync_directory(dir.string());
  }
  messages().link_restored(link, target);
}

}  // namespace catalog
