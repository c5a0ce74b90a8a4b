#include "report/contents.h"

#include <algorithm>
#include <tuple>

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
  Groups groups;
  Dirs dirs;
  reader.client_policies(
      [&](std::int64_t id, const std::string& client, const std::string& policy) {
        groups[id].client = client;
        groups[id].policy = policy;
      });
  // Directories of several numbers that are all walked, such as 2 and 02, count as one.
  reader.directories([&](const RunReader::DirectoryRow& row) {
    Group& group = groups[row.client_policy];
    group.dir_pos += row.directory.counts.pos;
    group.dir_copies += row.directory.counts.copies;
    group.dir_is_known = group.dir_is_known && row.done;
    group.dir_failed = group.dir_failed || row.failed;
    dirs[row.directory.id] = row.client_policy;
    if (row.failed) {
      ++failed_dirs;
    } else {
      if (!row.done) ++open_dirs;
      ++dirs_with_issues;
      if (task == record::Task::scan) ++dirs_of_clients[row.directory.client];
    }
  });
  reader.orphans([&](const RunReader::OrphanRow& row) {
    const auto dir = dirs.find(row.directory);
    const std::int64_t id = dir == dirs.end() ? 0 : dir->second;
    ++listed.orphan_copies;
    if (task == record::Task::deletion && !row.orphan.deleted) {
      ++kept_copies;
      ++group_of(id, groups, orphans).kept;
      return;
    }
    Group& group = add(id, row.orphan.backup_time, groups, orphans);
    group.pos += row.orphan.pos;
    group.bytes += row.orphan.bytes;
    listed.taken_pos += row.orphan.pos;
    listed.taken_bytes += row.orphan.bytes;
  });
  reader.collateral([&](const RunReader::CollateralRow& row) {
    ++listed.other_copies_pos;
    ++group_of(row.client_policy, groups, orphans).other_copies_pos;
  });
  for (auto& [id, group] : groups) group.dir_is_known = false;  // no share of it is missing
  reader.missing([&](const RunReader::MissingRow& row) {
    ++listed.missing_copies;
    (void)add(row.client_policy, row.backup_time, groups, missing);
  });
  reader.moves([&](const RunReader::MoveRow& row) {
    ++moves;
    listed.moved_pos += row.pos;
  });
  listed.collisions = reader.count("collision");
  names_left_out = reader.count("unparsed");
  finish(orphans);
  finish(missing);
}

}  // namespace report
