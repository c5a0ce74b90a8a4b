#include "catalog/orphans/dir_table.h"

#include <strings.h>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "catalog/walk/listed_dirs.h"

namespace fs = boost::filesystem;

namespace catalog {

namespace {

// Neither name contains a slash.
std::string pair_of(const std::string& client, const std::string& policy) {
  return client + "/" + policy;
}

bool is_before_in_any_case(const std::string& a, const std::string& b) {
  return ::strcasecmp(a.c_str(), b.c_str()) < 0;
}

// All spellings of a pair are consecutive.
bool is_before(const std::string& a, const std::string& b) {
  const int order = ::strcasecmp(a.c_str(), b.c_str());
  return order != 0 ? order < 0 : a < b;
}

}  // namespace

DirTable::Entry::Entry(const record::Directory& directory, const std::string* dsid,
                       podb::CopySet its_copies)
    : copies(std::move(its_copies)),
      m_pair(pair_of(directory.client, directory.policy)),
      m_dsid(dsid),
      m_id(directory.id),
      m_pos(directory.counts.pos),
      m_future_copies(directory.counts.future_copies) {}

record::Directory DirTable::Entry::directory() const {
  const std::size_t slash = m_pair.find('/');
  record::Directory directory;
  directory.dsid = *m_dsid;
  directory.client = m_pair.substr(0, slash);
  directory.policy = m_pair.substr(slash + 1);
  directory.id = m_id;
  directory.counts.pos = m_pos;
  directory.counts.copies = copies.size_with_erased();
  directory.counts.future_copies = m_future_copies;
  directory.counts.missing_copies = missing_copies;
  return directory;
}

void DirTable::add(const record::Directory& directory, podb::CopySet copies) {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  const std::string* dsid = &*m_dsids.insert(directory.dsid).first;
  m_entries.emplace_back(directory, dsid, std::move(copies));
}

void DirTable::finish() {
  std::sort(m_entries.begin(), m_entries.end(),
            [](const Entry& a, const Entry& b) { return is_before(a.m_pair, b.m_pair); });
}

template <class IsBefore>
DirTable::Range DirTable::equal_range(const std::string& pair, IsBefore is_before) {
  const auto first = std::lower_bound(
      m_entries.begin(), m_entries.end(), pair,
      [&](const Entry& a, const std::string& b) { return is_before(a.m_pair, b); });
  auto last = first;
  while (last != m_entries.end() && !is_before(pair, last->m_pair)) ++last;
  return {first, last};
}

DirTable::Range DirTable::find(const std::string& client, const std::string& policy) {
  return equal_range(pair_of(client, policy), is_before);
}

DirTable::Range DirTable::find_any_case(const std::string& client, const std::string& policy) {
  return equal_range(pair_of(client, policy), is_before_in_any_case);
}

DirTable::Entry& DirTable::at(const fs::path& policy_dir) {
  const fs::path client_dir = policy_dir.parent_path();
  const std::string dsid = client_dir.parent_path().filename().string();
  for (Entry& entry : find(client_dir.filename().string(), policy_dir.filename().string())) {
    if (*entry.m_dsid == dsid) return entry;
  }
  throw std::logic_error(policy_dir.string() + " was not read");
}

std::unique_ptr<DirsSource> DirTable::source(const fs::path& tree_root) const {
  return std::make_unique<ListedDirs>([this, tree_root, next = std::size_t{0}]() mutable {
    if (next == m_entries.size()) return std::string();
    const Entry& entry = m_entries[next++];
    return (tree_root / *entry.m_dsid / entry.m_pair).string();
  });
}

}  // namespace catalog
