#include "report/contents.h"

#include <algorithm>
#include <tuple>

#include "record/names.h"

namespace report {

namespace {

using record::RunReader;
using Dirs = std::unordered_map<std::int64_t, std::int64_t>;  // their clients and policies
using Groups = std::unordered_map<std::int64_t, Group>;

Group& group_of(std::int64_t id, const Groups& known, Images& images) {
  const auto group = images.groups.find(id);
  if (group != images.groups.end()) return group->second;
  const auto names = known.find(id);
  return images.groups.emplace(id, names == known.end() ? Group() : names->second).first->second;
}

Group& add(std::int64_t id, std::int64_t backup_time, const Groups& known, Images& images) {
  Group& group = group_of(id, known, images);
  if (group.copies++ == 0) group.oldest = group.newest = backup_time;
  group.oldest = std::min(group.oldest, backup_time);
  group.newest = std::max(group.newest, backup_time);
  images.timeline.add(backup_time);
  return group;
}

void finish(Images& images) {
  for (const auto& [id, group] : images.groups) {
    images.sorted.push_back(&group);
    if (group.loses_everything()) ++images.losing_everything;
    if (!group.has_share()) ++images.unknown_shares;
  }
  const auto rank = [](const Group* group) {
    constexpr double k_unknown = -1;
    return std::make_tuple(!group->loses_everything(),
                           -(group->has_share() ? group->share() : k_unknown), ~group->copies,
                           std::cref(group->client), std::cref(group->policy));
  };
  std::sort(images.sorted.begin(), images.sorted.end(),
            [&](const Group* a, const Group* b) { return rank(a) < rank(b); });
}

}  // namespace

double Group::share() const {
  return std::min(1.0, static_cast<double>(copies) / static_cast<double>(dir_copies));
}

Contents::Contents(RunReader& reader, record::Task task) {
  using Line = RunReader::Row;
  Groups groups;
  Dirs dirs;
  reader.rows("SELECT id, client, policy FROM client_policy", [&](const Line& row) {
    groups[row.number(0)].client = row.text(1);
    groups[row.number(0)].policy = row.text(2);
  });
  // Directories of several numbers that are all walked, such as 2 and 02, count as one.
  reader.rows("SELECT id, client_policy, pos, copies, state FROM directory", [&](const Line& row) {
    const std::string state = row.text(4);
    const bool failed = state == record::k_failed;
    const bool done = state == record::k_done;
    Group& group = groups[row.number(1)];
    group.dir_pos += row.count(2);
    group.dir_copies += row.count(3);
    group.dir_is_known = group.dir_is_known && done;
    group.dir_failed = group.dir_failed || failed;
    dirs[row.number(0)] = row.number(1);
    failed_dirs += failed ? 1 : 0;
    open_dirs += !failed && !done ? 1 : 0;
    dirs_with_issues += failed ? 0 : 1;
  });
  const auto client_policy_of = [&](std::int64_t directory) {
    const auto dir = dirs.find(directory);
    return dir == dirs.end() ? 0 : dir->second;
  };
  const std::string orphans_query =
      "SELECT directory, backup_time, pos, bytes, deleted FROM orphan";
  reader.rows(orphans_query, [&](const Line& row) {
    const std::int64_t id = client_policy_of(row.number(0));
    ++listed.orphan_copies;
    if (task == record::Task::deletion && row.number(4) == 0) {
      ++kept_copies;
      ++group_of(id, groups, orphans).kept;
      return;
    }
    Group& group = add(id, row.number(1), groups, orphans);
    group.pos += row.count(2);
    group.bytes += row.count(3);
    listed.taken_pos += row.count(2);
    listed.taken_bytes += row.count(3);
  });
  reader.rows("SELECT directory FROM collateral JOIN orphan o ON o.id = orphan",
              [&](const Line& row) {
                const std::int64_t id = client_policy_of(row.number(0));
                ++group_of(id, groups, orphans).other_copies_pos;
              });
  for (auto& [id, group] : groups) group.dir_is_known = false;  // no share of it is missing
  reader.rows("SELECT client_policy, backup_time FROM missing", [&](const Line& row) {
    ++listed.missing_copies;
    (void)add(row.number(0), row.number(1), groups, missing);
  });
  listed.other_copies_pos = reader.count("collateral");
  listed.moved_pos = reader.count("moved");
  listed.collisions = reader.count("collision");
  if (task != record::Task::repair) names_left_out = reader.count("unparsed");
  finish(orphans);
  finish(missing);
}

}  // namespace report
