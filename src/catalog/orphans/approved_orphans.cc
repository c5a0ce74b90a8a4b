#include "catalog/orphans/approved_orphans.h"

#include <algorithm>
#include <limits>

#include "catalog/walk/dir_filter.h"
#include "record/run_reader.h"

namespace catalog {

namespace {

using record::RunReader;

bool is_copy_number(std::int64_t number) {
  return number >= 0 && number <= std::numeric_limits<std::uint32_t>::max();
}

}  // namespace

const ApprovedOrphans::Directory::Copy* ApprovedOrphans::Directory::find(
    const podb::CopyKey& key) const {
  const auto copy = std::lower_bound(
      m_copies.begin(), m_copies.end(), key,
      [](const Copy& each, const podb::CopyKey& wanted) { return each.key < wanted; });
  return copy != m_copies.end() && copy->key == key ? &*copy : nullptr;
}

bool ApprovedOrphans::Directory::allows(const record::Orphan& orphan) const {
  const podb::CopyKey key{orphan.backup_time, orphan.copy_number};
  const Copy* copy = find(key);
  if (copy == nullptr || orphan.pos - orphan.other_copies.size() > copy->own_pos) return false;
  return std::all_of(
      orphan.other_copies.begin(), orphan.other_copies.end(), [&](const std::string& basename) {
        return std::binary_search(m_other_pos.begin(), m_other_pos.end(), std::tie(key, basename));
      });
}

// A record has the number of all POs of an orphan; its own are those without the others. A copy
// that is listed twice, which no run writes, keeps the smaller number.
void ApprovedOrphans::Directory::finish() {
  const auto less = [](const Copy& a, const Copy& b) {
    return std::tie(a.key, a.own_pos) < std::tie(b.key, b.own_pos);
  };
  const auto same = [](const Copy& a, const Copy& b) { return a.key == b.key; };
  std::sort(m_copies.begin(), m_copies.end(), less);
  m_copies.erase(std::unique(m_copies.begin(), m_copies.end(), same), m_copies.end());
  m_copies.shrink_to_fit();
  for (const auto& [key, basename] : m_other_pos) {
    const Copy* found = find(key);
    if (found == nullptr) continue;
    Copy& copy = m_copies[static_cast<std::size_t>(found - m_copies.data())];
    if (copy.own_pos != 0) --copy.own_pos;
  }
  std::sort(m_other_pos.begin(), m_other_pos.end());
}

ApprovedOrphans::ById ApprovedOrphans::read_directories(RunReader& record) {
  ById by_id;
  record.rows(
      "SELECT d.id, dsid, client, policy FROM directory d JOIN client_policy p ON p.id = "
      "client_policy",
      [&](const RunReader::Row& row) {
        by_id[row.number(0)] = &m_directories[{row.text(1), row.text(2), row.text(3)}];
      });
  return by_id;
}

ApprovedOrphans::ApprovedOrphans(RunReader& record) {
  const ById by_id = read_directories(record);
  const auto visit = [&](const RunReader::Row& row, const auto& add) {
    const auto directory = by_id.find(row.number(0));
    if (directory == by_id.end() || !is_copy_number(row.number(2))) return;
    add(*directory->second,
        podb::CopyKey{row.number(1), static_cast<std::uint32_t>(row.number(2))});
  };
  record.rows("SELECT directory, backup_time, copy, pos FROM orphan",
              [&](const RunReader::Row& row) {
                visit(row, [&](Directory& directory, const podb::CopyKey& key) {
                  directory.m_copies.push_back({key, row.count(3)});
                });
              });
  record.rows(
      "SELECT directory, backup_time, copy, basename FROM collateral c JOIN orphan o ON o.id = "
      "c.orphan",
      [&](const RunReader::Row& row) {
        visit(row, [&](Directory& directory, const podb::CopyKey& key) {
          directory.m_other_pos.emplace_back(key, row.text(3));
        });
      });
  for (auto& [key, directory] : m_directories) directory.finish();
}

const ApprovedOrphans::Directory& ApprovedOrphans::of(const record::Directory& directory) const {
  static const Directory nothing;
  const auto found = m_directories.find({directory.dsid, directory.client, directory.policy});
  return found == m_directories.end() ? nothing : found->second;
}

std::uint64_t ApprovedOrphans::count(const DirFilter& filter) const {
  std::uint64_t count = 0;
  for (const auto& [key, directory] : m_directories) {
    if (filter.wants(std::get<1>(key), std::get<2>(key))) count += directory.size();
  }
  return count;
}

}  // namespace catalog
