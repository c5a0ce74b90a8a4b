#include "report/contents.h"

#include <algorithm>
#include <tuple>

namespace report {

namespace {

using record::RunReader;

void add(std::int64_t backup_time, Copies& copies, Timeline& timeline) {
  if (copies.count++ == 0) copies.oldest = copies.newest = backup_time;
  copies.oldest = std::min(copies.oldest, backup_time);
  copies.newest = std::max(copies.newest, backup_time);
  timeline.add(backup_time);
}

// Groups that lose everything first, then by share; unknown shares last.
auto rank_of_orphans(const Group& group) {
  constexpr double k_unknown = -1;
  return std::make_tuple(!group.loses_everything(),
                         -(group.has_share() ? group.share() : k_unknown), ~group.orphans.count,
                         std::cref(group.client), std::cref(group.policy));
}

auto rank_of_missing(const Group& group) {
  return std::make_tuple(~group.missing.count, std::cref(group.client), std::cref(group.policy));
}

template <class RankOf>
void sort(std::vector<const Group*>& groups, RankOf rank_of) {
  std::sort(groups.begin(), groups.end(),
            [&](const Group* a, const Group* b) { return rank_of(*a) < rank_of(*b); });
}

}  // namespace

Contents::Contents(RunReader& reader, record::Task task) {
  using Line = RunReader::Row;
  // Directories of several DSIDs that are all walked, such as 2 and 02, count as one.
  reader.rows(
      "SELECT p.id, client, policy, iif(min(state IS 'done'), sum(pos), 0), "
      "iif(min(state IS 'done'), sum(copies), 0), max(state IS 'failed'), "
      "sum(unapproved_copies) FROM client_policy p "
      "LEFT JOIN directory ON client_policy = p.id GROUP BY p.id",
      [&](const Line& row) {
        Group& group = groups[row.number(0)];
        group.client = row.text(1);
        group.policy = row.text(2);
        group.dir_pos = row.count(3);
        group.dir_copies = row.count(4);
        group.dir_failed = row.count(5) != 0;
        group.unapproved = row.count(6);
      });
  const std::string with_directory = " LEFT JOIN directory d ON d.id = directory";
  reader.rows(
      "SELECT client_policy, backup_time, o.pos, bytes, deleted FROM orphan o" + with_directory,
      [&](const Line& row) {
        Group& group = groups[row.number(0)];
        if (task == record::Task::deletion && row.number(4) == 0) {
          ++group.kept;
          return;
        }
        add(row.number(1), group.orphans, orphans.timeline);
        group.pos += row.count(2);
        group.bytes += row.count(3);
      });
  reader.rows("SELECT client_policy FROM collateral JOIN orphan o ON o.id = orphan" +
                  with_directory + (task == record::Task::deletion ? " WHERE deleted" : ""),
              [&](const Line& row) { ++groups[row.number(0)].other_copies_pos; });
  reader.rows("SELECT client_policy, backup_time FROM missing", [&](const Line& row) {
    add(row.number(1), groups[row.number(0)].missing, missing.timeline);
  });
  sum_up_groups();
  listed.moved_pos = reader.count("moved");
  listed.collisions = reader.count("collision");
  failed_dirs = reader.count("directory WHERE state = 'failed'");
  open_dirs = reader.count("directory WHERE state IS NULL");
  dirs_with_issues = reader.count("directory WHERE state IS NOT 'failed'");
  saved_pos = reader.count("saved");
  removed_links = reader.count("link WHERE removed");
  if (task != record::Task::repair) names_left_out = reader.count("unparsed");
}

void Contents::sum_up_groups() {
  for (auto& [id, group] : groups) {
    group.unapproved = std::min(group.unapproved, group.kept);
    group.kept -= group.unapproved;
    listed.other_copies_pos += group.other_copies_pos;
    listed.missing_copies += group.missing.count;
    if (group.missing.count != 0) missing.groups.push_back(&group);
    const std::uint64_t orphan_copies = group.orphans.count + group.kept + group.unapproved;
    if (orphan_copies == 0) continue;
    orphans.groups.push_back(&group);
    listed.orphan_copies += orphan_copies;
    listed.unapproved_copies += group.unapproved;
    listed.taken_pos += group.pos;
    listed.taken_bytes += group.bytes;
    kept_copies += group.kept;
    losing_everything += group.loses_everything() ? 1 : 0;
    unknown_shares += group.has_share() ? 0 : 1;
  }
  sort(orphans.groups, rank_of_orphans);
  sort(missing.groups, rank_of_missing);
}

}  // namespace report
