#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "catalog/orphans/copy_set.h"
#include "podb/basename_range.h"
#include "podb/sqlite_podb.h"
#include "record/findings.h"

namespace catalog::podb {

inline CopyKey key_of(const record::Orphan& orphan) {
  return {orphan.backup_time, orphan.copy_number};
}

// The POs that the deletion of a directory's orphans takes, found without deleting anything.
//
// Orphans are deleted in ascending order, each with all remaining POs that match its LIKE pattern.
// The pattern matches more than the copy. That of copy 1 matches copy 10, letter case does not
// count, and each "_" stands for any character. Storages have been cleaned by it for years, so it
// stays, and the POs of other copies are reported.
//
// Threads: one thread.
class DeletionMatches {
 public:
  // Matches are counted, or their rows are kept too, 16 bytes each.
  enum class Rows { counted, kept };

  DeletionMatches() = default;
  // The orphans are the copies not erased from `copies`, which must outlive the calls of add.
  DeletionMatches(const std::string& client, const CopySet& copies, Rows rows);

  // The ranges of basenames that can match, in ascending order, without overlaps.
  std::vector<database::BasenameRange> ranges() const;

  // Counts a PO of the directory to the first orphan that it matches. Its name must be a text. A PO
  // of a copy that was never in the set does not count: a backup has written it since.
  void add(const SQLitePODB::Entry& po);

  // To be called after the last add, before the members below.
  void finish();

  const record::Orphan& of(const CopyKey& orphan) const;

  // Calls `visit` with the number of each row that matches the orphan, as long as that returns 0.
  // Returns the last result.
  template <class Visitor>
  cr_status_t for_each_row(const CopyKey& orphan, Visitor visit) const {
    const auto index = index_of(orphan);
    auto row = std::lower_bound(m_rows.begin(), m_rows.end(), Row{index, k_first_row});
    cr_status_t status = k_status_ok;
    for (; status == k_status_ok && row != m_rows.end() && row->orphan == index; ++row) {
      status = visit(row->number);
    }
    return status;
  }

  // Whether the orphan's pattern matches a basename.
  bool is_match(const CopyKey& orphan, const std::string& basename) const;

  // The copy that a basename in the client's own spelling names; none if it does not parse.
  std::optional<CopyKey> copy_of(std::string_view basename) const;

 private:
  static constexpr std::int64_t k_first_row = std::numeric_limits<std::int64_t>::min();

  struct Row {
    std::uint32_t orphan;  // index
    std::int64_t number;

    bool operator<(const Row& other) const {
      return std::tie(orphan, number) < std::tie(other.orphan, other.number);
    }
  };
  using Orphans = std::vector<record::Orphan>;

  std::string_view from_time_on(std::string_view basename) const;
  Orphans::iterator first_match(std::string_view basename);
  Orphans::iterator first_match_at(std::string_view time_text, std::string_view basename);
  std::uint32_t index_of(const CopyKey& orphan) const;

  std::string m_client;
  std::size_t m_characters_before_time = 0;
  Rows m_keep = Rows::counted;
  const CopySet* m_copies = nullptr;
  Orphans m_orphans;  // in ascending order
  std::vector<Row> m_rows;
};

}  // namespace catalog::podb
