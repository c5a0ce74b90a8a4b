#include "report/comparison.h"

#include <algorithm>
#include <array>
#include <map>
#include <tuple>
#include <utility>

#include "record/run_reader.h"

namespace report {

namespace {

using record::RunReader;

struct Copy {
  std::array<std::string, 3> names;  // DSID, client, policy
  std::int64_t backup_time = 0;
  std::int64_t copy_number = 0;
  std::uint64_t pos = 0;
  std::uint64_t bytes = 0;

  auto key() const { return std::tie(names, backup_time, copy_number); }
};

// Iterates over a query for sorted copies.
class SortedCopies {
 public:
  SortedCopies(RunReader& reader, const std::string& query) : m_rows(reader, query) { advance(); }

  bool at_end() const { return m_at_end; }
  const Copy& copy() const { return m_copy; }
  void advance();

 private:
  RunReader::Cursor m_rows;
  Copy m_copy;
  bool m_at_end = false;
};

void SortedCopies::advance() {
  const RunReader::Row* const row = m_rows.next();
  m_at_end = row == nullptr;
  if (m_at_end) return;
  std::size_t at = 0;
  for (std::string& name : m_copy.names) name = row->text(at++);
  m_copy.backup_time = row->number(at++);
  m_copy.copy_number = row->number(at++);
  m_copy.pos = row->count(at++);
  m_copy.bytes = row->count(at);
}

using GroupMap = std::map<std::pair<std::string, std::string>, ComparedGroup>;

void add(const Copy& copy, CopySum ComparedGroup::*sum, bool is_changed, ComparedGroup& group) {
  (group.*sum).copies += 1;
  (group.*sum).pos += copy.pos;
  (group.*sum).bytes += copy.bytes;
  group.changed_copies += is_changed ? 1 : 0;
}

// Requires both in ascending order and without duplicates.
ComparedGroup merge(SortedCopies& old_copies, SortedCopies& new_copies, GroupMap& map) {
  ComparedGroup total;
  while (!old_copies.at_end() || !new_copies.at_end()) {
    const bool takes_old =
        new_copies.at_end() ||
        (!old_copies.at_end() && old_copies.copy().key() <= new_copies.copy().key());
    const bool takes_new =
        old_copies.at_end() ||
        (!new_copies.at_end() && new_copies.copy().key() <= old_copies.copy().key());
    const Copy& copy = takes_new ? new_copies.copy() : old_copies.copy();
    CopySum ComparedGroup::*const sum = takes_old && takes_new ? &ComparedGroup::common
                                        : takes_new            ? &ComparedGroup::only_new
                                                               : &ComparedGroup::only_old;
    const bool is_changed =
        takes_old && takes_new &&
        std::tie(copy.pos, copy.bytes) != std::tie(old_copies.copy().pos, old_copies.copy().bytes);
    add(copy, sum, is_changed, map[{copy.names[1], copy.names[2]}]);
    add(copy, sum, is_changed, total);
    if (takes_old) old_copies.advance();
    if (takes_new) new_copies.advance();
  }
  return total;
}

void note_failed(RunReader& reader, bool ComparedGroup::*failed, GroupMap& map) {
  reader.rows(
      "SELECT client, policy FROM directory JOIN client_policy p ON p.id = client_policy "
      "WHERE state IS NOT 'done'",
      [&](const RunReader::Row& row) {
        const auto group = map.find({row.text(0), row.text(1)});
        if (group != map.end()) group->second.*failed = true;
      });
}

ComparedGroups compared(RunReader& old_reader, RunReader& new_reader, const std::string& query) {
  SortedCopies old_copies(old_reader, query);
  SortedCopies new_copies(new_reader, query);
  GroupMap map;
  ComparedGroups result;
  result.total = merge(old_copies, new_copies, map);
  note_failed(old_reader, &ComparedGroup::failed_in_old, map);
  note_failed(new_reader, &ComparedGroup::failed_in_new, map);
  for (auto& [names, group] : map) {
    std::tie(group.client, group.policy) = names;
    result.groups.push_back(std::move(group));
  }
  const auto rank_of = [](const ComparedGroup& group) {
    return std::make_tuple(~group.only_new.copies, ~group.only_old.copies, ~group.changed_copies);
  };
  std::stable_sort(result.groups.begin(), result.groups.end(),
                   [&](const auto& a, const auto& b) { return rank_of(a) < rank_of(b); });
  return result;
}

// A query for the copies of `table`, each once, in the order of Copy::key(). The casts make SQLite sort
// a value of any type as it is read.
std::string sorted(const std::string& dsid, const std::string& sums, const std::string& table) {
  const auto text = [](const std::string& name) {
    return "ifnull(CAST(" + name + " AS TEXT), '')";
  };
  const auto number = [](const std::string& name) {
    return "ifnull(CAST(" + name + " AS INTEGER), 0)";
  };
  return "SELECT " + text(dsid) + ", " + text("client") + ", " + text("policy") + ", " +
         number("backup_time") + ", " + number("copy") + ", " + sums + " FROM " + table +
         " LEFT JOIN client_policy p ON p.id = client_policy GROUP BY 1, 2, 3, 4, 5 ORDER BY 1, 2, "
         "3, 4, 5";
}

}  // namespace

Comparison::Comparison(const std::string& old_record, const std::string& new_record) {
  RunReader old_reader(old_record);
  RunReader new_reader(new_record);
  orphans = compared(old_reader, new_reader,
                     sorted("dsid", "max(o.pos), max(bytes)",
                            "orphan o LEFT JOIN directory d ON d.id = directory"));
  missing = compared(old_reader, new_reader, sorted("''", "0, 0", "missing"));
}

}  // namespace report
