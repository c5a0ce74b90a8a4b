#pragma once

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

// The policy directories of a run between two of its steps, by client and policy. A directory takes
// less than 200 bytes, unless its names are long, and 16 for each of its copies.
//
// Threads: add from any thread. After finish the table does not change; an entry belongs to one
//   thread at a time.
class DirTable {
 public:
  class Entry {
   public:
    // `dsid` must outlive it.
    Entry(const record::Directory& directory, const std::string* dsid, podb::CopySet its_copies);

    // The directory with its counts.
    record::Directory directory() const;

    podb::CopySet copies;
    std::uint64_t missing_copies = 0;
    bool is_done = false;
    bool is_warned_of = false;  // that the backup catalog has another spelling

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

  void add(const record::Directory& directory, podb::CopySet copies);

  // To be called after the last add, before the members below.
  void finish();

  // The directories of a client and policy, one for each DSID: byte for byte, or in any letter
  // case.
  Range find(const std::string& client, const std::string& policy);
  Range find_any_case(const std::string& client, const std::string& policy);

  // The directory of that path.
  // Errors: std::logic_error if it was not added.
  Entry& at(const boost::filesystem::path& policy_dir);

  // Hands out each directory once, below `tree_root`. Refers to this object.
  std::unique_ptr<DirsSource> source(const boost::filesystem::path& tree_root) const;

  Entries& entries() { return m_entries; }

 private:
  template <class IsBefore>
  Range equal_range(const std::string& pair, IsBefore is_before);

  boost::mutex m_mutex;
  std::set<std::string> m_dsids;  // mostly one
  Entries m_entries;              // after finish in the order of their pairs
};

}  // namespace catalog
