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

// What the deletion of a directory's orphans takes, found without deleting anything.
//
// Orphans are deleted in ascending order, each with all POs whose basenames its pattern matches that are
// still there. The pattern reaches further than the copy: copy 1's is the beginning of copy 10's, letter
// case does not count, and each "_" stands for any character. Storages have been cleaned by it for years;
// it stays, and what else it takes is told.
//
// Threads: one thread.
class DeletionMatches {
 public:
  // What is taken is counted, or the rows are kept as well, 16 bytes for each.
  enum class Rows { counted, kept };

  DeletionMatches() = default;
  // `copies` has all copies that the directory was found to hold; those that are left are the orphans. It
  // must live as long as POs are added.
  DeletionMatches(const std::string& client, const CopySet& copies, Rows rows);

  // Where the basenames stand that may be taken: in ascending order, none twice.
  std::vector<database::BasenameRange> ranges() const;

  // Counts a PO of the directory to the first orphan that takes it, if one does. The name must be a text.
  // A PO of a copy that the directory did not hold when it was read is left: a backup has written it since.
  void add(const SQLitePODB::Entry& po);

  // Behind the last add, and before anything below.
  void finish();

  // Of one of the orphans.
  const record::Orphan& of(const details::numbers& orphan) const;

  // Calls `visit` with the number of each row that the orphan takes, as long as that returns 0. Returns
  // what it returned last.
  template <class Visitor>
  cr_status_t for_each_row(const details::numbers& orphan, Visitor visit) const {
    const auto index = index_of(orphan);
    auto row = std::lower_bound(m_rows.begin(), m_rows.end(), Row{index, k_first_row});
    cr_status_t status = k_status_ok;
    for (; status == k_status_ok && row != m_rows.end() && row->orphan == index; ++row) {
      status = visit(row->number);
    }
    return status;
  }

  // Whether the orphan's pattern matches a basename.
  bool matches(const details::numbers& orphan, const std::string& basename) const;

 private:
  static constexpr std::int64_t k_first_row = std::numeric_limits<std::int64_t>::min();

  struct Row {
    std::uint32_t orphan;  // which one, in their order
    std::int64_t number;

    bool operator<(const Row& other) const {
      return std::tie(orphan, number) < std::tie(other.orphan, other.number);
    }
  };
  using Orphans = std::vector<record::Orphan>;

  std::string_view from_time_on(std::string_view basename) const;
  Orphans::iterator first_taker(std::string_view basename);
  Orphans::iterator first_taker_at(std::string_view time_text, std::string_view basename);
  std::optional<details::numbers> copy_of(std::string_view basename) const;
  std::uint32_t index_of(const details::numbers& orphan) const;

  std::string m_client;
  std::size_t m_characters_before_time = 0;
  Rows m_keep = Rows::counted;
  const CopySet* m_copies = nullptr;
  Orphans m_orphans;  // in ascending order
  std::vector<Row> m_rows;
};

}  // namespace catalog::podb
