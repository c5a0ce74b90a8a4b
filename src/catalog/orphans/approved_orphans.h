#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "catalog/orphans/copy_set.h"
#include "record/findings.h"

namespace record {
class RunReader;
}

namespace catalog {

class DirFilter;

// The orphans in the record of a dry run, with the POs that it announced for each. An orphan takes
// 24 bytes, and a PO of another copy its name.
//
// Threads: never changes.
class ApprovedOrphans {
 public:
  // Those of one policy directory.
  class Directory {
   public:
    bool lists(const podb::CopyKey& copy) const { return find(copy) != nullptr; }

    // Whether it lists the orphan with at least the POs that it takes now: as many of its own, and
    // each PO of another copy.
    bool allows(const record::Orphan& orphan) const;

    std::size_t size() const { return m_copies.size(); }

   private:
    friend class ApprovedOrphans;

    struct Copy {
      podb::CopyKey key;
      std::uint64_t own_pos;
    };
    // An orphan, and the basename of a PO of another copy.
    using OtherPO = std::tuple<podb::CopyKey, std::string>;

    const Copy* find(const podb::CopyKey& key) const;
    void finish();

    std::vector<Copy> m_copies;        // ascending
    std::vector<OtherPO> m_other_pos;  // ascending
  };

  // Errors: Cr_ErrnoException when the record cannot be read.
  explicit ApprovedOrphans(record::RunReader& record);

  // An empty one for a directory without listed orphans.
  const Directory& of(const record::Directory& directory) const;

  // The number of listed copies in the wanted directories.
  std::uint64_t count(const DirFilter& filter) const;

 private:
  // DSID, client and policy.
  using Key = std::tuple<std::string, std::string, std::string>;
  using ById = std::map<std::int64_t, Directory*>;

  ById read_directories(record::RunReader& record);

  std::map<Key, Directory> m_directories;
};

}  // namespace catalog
