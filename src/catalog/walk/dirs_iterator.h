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
// which the file system lists them. On the first level only the directory of DSID 2 is entered;
// each other entry is logged.
//
// If a first-level entry of that number is no directory, the next first-level directory is walked
// whatever its name. Every tool of the storage handles such a leftover file that way.
//
// A directory that vanishes after it was listed counts as empty, if the root is still the same.
//
// Threads: one thread at a time.
// Ownership: refers to the log, which must outlive it; null for standard error.
// Invariant: the stack is empty at the end of the walk; else the entry under its top is current.
// Errors: boost::filesystem::filesystem_error when a directory or an entry's status cannot be read;
//   WalkRootChanged when the root vanished with what was listed in it.
class DirsIterator {
 public:
  // The end.
  DirsIterator() = default;

  // What happens to the first-level entries that are not entered.
  enum class PassedOver { logged, silent };

  DirsIterator(const boost::filesystem::path& root, dct::util::LogFile* log, unsigned long depth,
               PassedOver passed_over = PassedOver::logged);

  // Moves to the next directory; with `advance_first` false it may be the current entry. Does
  // nothing at the end.
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
  PassedOver m_passed_over = PassedOver::logged;
};

// The directory of the walked DSID, as storages name it.
constexpr const char* k_walked_dsid_name = "2";

// Whether the name of a first-level entry is the walked DSID. Other spellings of the number, such
// as "02" and "+2", count.
bool is_walked_dsid(const std::string& name);

// Levels from the root of the metadata tree to the policy directories: DSID, client, policy.
constexpr unsigned long k_policy_dir_depth = 3;

}  // namespace catalog
