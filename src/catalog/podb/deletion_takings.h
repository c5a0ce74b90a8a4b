#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/podb/copy_set.h"
#include "platform/basename_range.h"
#include "record/findings.h"

namespace catalog::podb {

// The statement that deletes the POs of one image copy. Its pattern reaches further than the copy:
// copy 1's is the beginning of copy 10's, letter case does not count, and each "_" stands for any
// character. Storages have been cleaned by this statement for years; it stays, and what else it
// takes is told.
std::string deletion_statement(const std::string& client, const details::numbers& copy);

// What the deletion statements of a directory's orphans take, run one behind the other in ascending
// order, found without running them.
//
// Threads: one thread.
class DeletionTakings {
 public:
  DeletionTakings() = default;
  DeletionTakings(const std::string& client, const CopySet& orphans);

  // Where the basenames stand that a statement may take: in ascending order, none twice.
  std::vector<platform::BasenameRange> ranges() const;

  // Counts a PO of the directory, of that size, to the first statement that takes it, if one does.
  void add(std::string_view basename, std::uint64_t bytes);

  // Of one of the orphans.
  const record::Orphan& of(const details::numbers& orphan) const { return m_takings.at(orphan); }

 private:
  using Takings = std::map<details::numbers, record::Orphan>;

  std::string_view from_time_on(std::string_view basename) const;
  Takings::iterator first_taker(std::string_view basename);
  Takings::iterator first_taker_at(std::string_view time_text, std::string_view basename);
  bool names_copy(std::string_view basename, const details::numbers& copy) const;

  std::string m_client;
  std::size_t m_characters_before_time = 0;
  Takings m_takings;
};

}  // namespace catalog::podb
