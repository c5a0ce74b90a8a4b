#pragma once

#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace database {

// The path of a policy directory's database.
boost::filesystem::path podb_file(const boost::filesystem::path& policy_dir);

// Makes the directories and the empty database that a policy directory lacks. The database is
// written under a temporary name and then linked, so a crash leaves either none or a complete one.
// The next creation removes the temporary file.
//
// The root of the metadata tree is never made: if it is missing, the storage has disappeared.
// Everything is synced when the constructor returns, also what was there: a PO moved here may leave
// its source right after.
//
// Threads: one. Two objects may work on one client at once, but not on one policy directory.
// Errors: the constructor throws Cr_ErrnoException, naming the path, after it has undone its work.
class PODBCreation {
 public:
  PODBCreation(const boost::filesystem::path& tree_root, const boost::filesystem::path& policy_dir);

  bool made_database() const { return m_made_database; }

  // The directories and the database, outermost first.
  std::vector<std::string> made() const;

  // Removes the database, which must be empty, and each empty directory. Ignores failures.
  void undo();

 private:
  int make_directory(const boost::filesystem::path& dir, int attempts);
  void complete_if_empty(const boost::filesystem::path& dir) const;
  void make_database();
  void remove_made();

  const boost::filesystem::path m_tree_root;
  const boost::filesystem::path m_file;
  std::vector<std::string> m_made_directories;  // outermost first
  bool m_made_database = false;
};

}  // namespace database
