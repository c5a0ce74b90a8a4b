#pragma once

#include <stack>
#include <string>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/path.hpp>

#include "catalog/walk/walk_root.h"

namespace dct::util {
class LogFile;
}

namespace catalog {

// Walks the directories found exactly `depth` levels below a root, depth first, in the order in
// which the file system lists them. On the first level only the directory of DSID 2 is entered, and
// the log is told of each entry passed over.
//
// A first-level entry of that number which is no directory is stepped past without the filter: the
// directory behind it is then walked whatever its name. Storages with such a left-over file are
// handled that way by every tool of the storage.
//
// A directory that is gone since it was listed counts as empty, but only while the root is still the
// directory that it was at the start.
//
// Threads: one thread at a time.
// Ownership: refers to the log, which must outlive it; without one, standard error is told.
// Invariant: the stack is empty at the end of the walk; else the entry under its top is current.
// Errors: boost::filesystem::filesystem_error when a directory cannot be read or an entry's status
//   not taken; WalkRootChanged when something is gone and the root with it.
class DirsIterator {
 public:
  // The end.
  DirsIterator() = default;

  // Whether anybody is told of the entries that the filter passes over.
  enum class PassedOver { told, untold };

  DirsIterator(const boost::filesystem::path& root, dct::util::LogFile* log, unsigned long depth,
               PassedOver passed_over = PassedOver::told);

  // Moves to the next directory: past the current one, or (`advance_first` false) to the current
  // entry if it will do. Does nothing at the end.
  void do_increment(bool advance_first);

  bool equal(const DirsIterator& other) const;

  // The current directory. Not to be called at the end.
  const boost::filesystem::path& dereference() const { return m_levels.top()->path(); }

 private:
  void skip_non_dsid_dirs();
  bool settle_on_directory();
  bool is_directory(const boost::filesystem::directory_entry& entry) const;
  boost::filesystem::directory_iterator open_level(const boost::filesystem::path& dir) const;
  void write_to_log(const std::string& text) const;

  WalkRoot m_root;
  std::stack<boost::filesystem::directory_iterator> m_levels;
  dct::util::LogFile* m_log = nullptr;
  unsigned long m_depth = 0;
  PassedOver m_passed_over = PassedOver::told;
};

// The directory of the DSID that is walked, as storages name it.
constexpr const char* k_walked_dsid_name = "2";

// Whether a first-level entry of that name is the directory of the DSID that is walked. Other
// spellings of the number count as well, as "02" and "+2".
bool is_walked_dsid(const std::string& name);

// Levels from the catalog directory to the policy directories: DSID, client, policy.
constexpr unsigned long k_policy_dir_depth = 3;

}  // namespace catalog
