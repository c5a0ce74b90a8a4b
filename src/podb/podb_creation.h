#pragma once

#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace database {

// Where the path-object database of a policy directory lies.
boost::filesystem::path podb_file(const boost::filesystem::path& policy_dir);

// What had to be made so that a policy directory has a database: directories, and an empty database
// in the last. The database is made whole under a temporary name beside it and then takes its own,
// so that a crash leaves either none or a whole one. What a crash left under the temporary name is
// cleared.
//
// The catalog root itself is never made: one that is not there is a storage that has disappeared.
//
// All of it is on the disk when the constructor returns: a PO moved here may be gone from where it
// was an instant later.
//
// Threads: one thread; not two for one policy directory at once, but for two of one client.
// Errors: the constructor throws Cr_ErrnoException, naming the path, and takes away again what it
//   made.
class PODBCreation {
 public:
  PODBCreation(const boost::filesystem::path& tree_root, const boost::filesystem::path& policy_dir);

  bool made_database() const { return m_made_database; }

  // The directories and the database, outermost first.
  std::vector<std::string> made() const;

  // Takes away again what was made: the database, which must hold nothing, and each directory in
  // which nobody has put anything. What cannot be taken away stays.
  void undo();

 private:
  int make_directory(const boost::filesystem::path& dir, int attempts);
  void make_database();

  const boost::filesystem::path m_catalog_root;
  const boost::filesystem::path m_file;
  std::vector<std::string> m_made_directories;  // outermost first
  bool m_made_database = false;
};

}  // namespace database
