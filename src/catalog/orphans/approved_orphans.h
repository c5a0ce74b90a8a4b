#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "record/findings.h"

namespace record {
class RunReader;
}

namespace catalog {

class DirFilter;

// The orphans that the record of a dry run lists, with what it announced of each: all that a deletion
// may take which somebody has reviewed. An orphan takes 24 bytes, and a PO of another copy its name.
//
// Threads: constant once made.
class ApprovedOrphans {
 public:
  // Those of one policy directory.
  class Directory {
   public:
    bool lists(std::int64_t backup_time, std::uint32_t copy_number) const;

    // Whether it lists the orphan, and the orphan takes no more than was announced: no PO of another
    // copy that is not listed for it, and not more of its own.
    bool allows(const record::Orphan& orphan) const;

    std::size_t size() const { return m_copies.size(); }

   private:
    friend class ApprovedOrphans;

    struct Copy {
      std::int64_t backup_time;
      std::uint64_t own_pos;
      std::uint32_t copy_number;

      auto key() const { return std::tie(backup_time, copy_number); }
    };
    // A backup time, a copy number, and the basename of a PO that is of another copy.
    using OtherPO = std::tuple<std::int64_t, std::uint32_t, std::string>;

    const Copy* find(std::int64_t backup_time, std::uint32_t copy_number) const;
    void finish();

    std::vector<Copy> m_copies;        // in ascending order
    std::vector<OtherPO> m_other_pos;  // in ascending order
  };

  // Errors: Cr_ErrnoException when the record cannot be read.
  explicit ApprovedOrphans(record::RunReader& record);

  // An empty one for a directory of which nothing is listed.
  const Directory& of(const record::Directory& directory) const;

  // How many copies are listed of the directories that are wanted.
  std::uint64_t count(const DirFilter& filter) const;

 private:
  // DSID, client and policy.
  using Key = std::tuple<std::string, std::string, std::string>;
  using ById = std::map<std::int64_t, Directory*>;

  ById read_directories(record::RunReader& record);

  std::map<Key, Directory> m_directories;
};

}  // namespace catalog
