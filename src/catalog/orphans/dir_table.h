#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <set>
#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/range/iterator_range.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "catalog/orphans/copy_set.h"
#include "catalog/walk/dirs_source.h"
#include "record/findings.h"

namespace catalog {

// What is known of the policy directories of a run between two of its steps, by client and policy. A
// directory takes less than 200 bytes, unless its names are long, and 16 for each of its copies.
//
// Threads: add from any thread. After finish the table stays as it is; an entry belongs to one thread at a
//   time.
class DirTable {
 public:
  class Entry {
   public:
    // `dsid` must outlive it.
    Entry(const record::Directory& directory, const std::string* dsid, podb::CopySet its_copies);

    // The directory with what was counted in it.
    record::Directory directory() const;

    podb::CopySet copies;
    std::uint64_t missing_copies = 0;
    bool is_done = false;
    bool is_warned_of = false;  // since the backup catalog spells it otherwise

   private:
    friend class DirTable;

    std::string m_pair;  // client and policy, as in their path
    const std::string* m_dsid;
    std::int64_t m_id;  // in the record
    std::uint64_t m_pos;
    std::uint64_t m_future_copies;
  };
  using Entries = std::deque<Entry>;
  using Range = boost::iterator_range<Entries::iterator>;

  // A directory that was read, with its counts, and its copies.
  void add(const record::Directory& directory, podb::CopySet copies);

  // After the last add, and before anything below.
  void finish();

  // The directories of a client and policy, one for each DSID, byte for byte, or in any letter case.
  Range find(const std::string& client, const std::string& policy);
  Range find_any_case(const std::string& client, const std::string& policy);

  // The one of that path, which was added.
  Entry& at(const boost::filesystem::path& policy_dir);

  // Hands out each directory once, as one of the catalog. Refers to this object.
  std::unique_ptr<DirsSource> source(const boost::filesystem::path& catalog) const;

  Entries& entries() { return m_entries; }

 private:
  class Source;

  template <class IsBefore>
  Range equal_range(const std::string& pair, IsBefore is_before);

  boost::mutex m_mutex;
  std::set<std::string> m_dsids;  // mostly one
  Entries m_entries;              // in the end in the order of their pairs
};

}  // namespace catalog
