#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace record {

// What was counted in one policy directory, or in a whole run.
struct DirCounts {
  std::uint64_t pos = 0;
  std::uint64_t copies = 0;
  std::uint64_t orphan_copies = 0;
  std::uint64_t missing_copies = 0;
  std::uint64_t taken_pos = 0;         // by the deletion, or that a deletion would take
  std::uint64_t taken_bytes = 0;       // their sizes
  std::uint64_t other_copies_pos = 0;  // taken POs of other copies than the orphan
  std::uint64_t moved_pos = 0;
  std::uint64_t collisions = 0;
  std::uint64_t future_copies = 0;      // more than a day ahead of the host's clock
  std::uint64_t unapproved_copies = 0;  // orphans that a deletion left without approval
  std::uint64_t absent_copies = 0;      // approved copies that are no orphans any more
  std::uint64_t restored_pos = 0;
};

// A count: its member, its name in records and JSON, and the words for one and for more.
struct Count {
  std::uint64_t DirCounts::*value;
  const char* name;
  const char* one;
  const char* many;
  bool in_summary_line;
};

// The list that totals, summary line, progress, records, reports and JSON are made from. A new row is
// a new column of records, so it needs a new version of them. DirTable keeps some counts of a
// directory between two steps.
inline constexpr std::array<Count, 13> k_counts{{
    {&DirCounts::pos, "pos", "PO", "POs", true},
    {&DirCounts::copies, "copies", "copy", "copies", true},
    {&DirCounts::orphan_copies, "orphan_copies", "orphan copy", "orphan copies", true},
    {&DirCounts::missing_copies, "missing_copies", "missing copy", "missing copies", true},
    {&DirCounts::taken_pos, "taken_pos", "PO taken", "POs taken", true},
    {&DirCounts::taken_bytes, "taken_bytes", "byte taken", "bytes taken", false},
    {&DirCounts::other_copies_pos, "other_copies_pos", "of another copy", "of other copies", true},
    {&DirCounts::moved_pos, "moved_pos", "PO moved", "POs moved", true},
    {&DirCounts::collisions, "collisions", "collision", "collisions", true},
    {&DirCounts::future_copies, "future_copies", "copy of the future", "copies of the future",
     false},
    {&DirCounts::unapproved_copies, "unapproved_copies", "orphan copy not approved",
     "orphan copies not approved", false},
    {&DirCounts::absent_copies, "absent_copies", "approved copy that is no orphan any more",
     "approved copies that are no orphans any more", false},
    {&DirCounts::restored_pos, "restored_pos", "PO restored", "POs restored", false},
}};
static_assert(sizeof(DirCounts) == k_counts.size() * sizeof(std::uint64_t), "each is listed");

// "3 orphan copies"; always plural, which scripts match.
std::string number_of(const DirCounts& counts, std::uint64_t DirCounts::*which);

// ", POs 5, copies 4, ..." for the summary line of the run log.
std::string summary_of(const DirCounts& counts);

}  // namespace record
