#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "record/run_reader.h"
#include "report/timeline.h"
#include "report/wording.h"

namespace report {

// Some image copies of one client and policy.
struct Copies {
  std::uint64_t count = 0;
  std::int64_t oldest = 0;
  std::int64_t newest = 0;
};

// The findings of one client and policy.
struct Group {
  std::string client;
  std::string policy;
  std::uint64_t dir_pos = 0;  // in the directories; 0 unless the comparison of all of them finished
  std::uint64_t dir_copies = 0;
  bool dir_failed = false;  // then all its copies in the backup catalog count as missing
  Copies orphans;           // to be deleted, or deleted
  Copies missing;
  std::uint64_t kept = 0;        // orphans that a deletion could not delete
  std::uint64_t unapproved = 0;  // orphans that it left because the approved dry run lacks them
  std::uint64_t pos = 0;         // that the deletion of the orphans takes or took
  std::uint64_t bytes = 0;
  std::uint64_t other_copies_pos = 0;  // of these, the ones of other copies

  bool has_share() const { return dir_copies != 0; }
  bool loses_everything() const { return has_share() && orphans.count >= dir_copies; }
  // The orphans' share of the copies in the directories, from 0 to 1.
  double share() const { return std::min(1.0, share_of(orphans.count, dir_copies)); }
};

// The orphans of a record, or its missing copies.
struct Images {
  std::vector<const Group*> groups;  // the most important first
  Timeline timeline;
};

// The findings in a record, summed up. Memory grows with the directories, not with the findings.
struct Contents {
  // Errors: those of the reader.
  Contents(record::RunReader& reader, record::Task task);
  ~Contents() = default;
  Contents(const Contents&) = delete;
  Contents& operator=(const Contents&) = delete;

  std::unordered_map<std::int64_t, Group> groups;
  Images orphans;
  Images missing;
  record::DirCounts listed;  // the run's counts, from the rows of the record
  std::uint64_t kept_copies = 0;
  std::uint64_t saved_pos = 0;
  std::uint64_t removed_links = 0;
  std::uint64_t losing_everything = 0;  // groups with orphans
  std::uint64_t unknown_shares = 0;
  std::uint64_t failed_dirs = 0;
  std::uint64_t open_dirs = 0;  // neither done nor failed
  std::uint64_t names_left_out = 0;
  std::uint64_t dirs_with_issues = 0;  // of a scan

 private:
  void sum_up_groups();
};

using SharedContents = std::shared_ptr<const Contents>;

}  // namespace report
