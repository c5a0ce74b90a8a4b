#pragma once

#include <sys/types.h>

#include <stdexcept>

#include <boost/filesystem/path.hpp>

namespace catalog {

// The root of a walk is no longer the directory that it was at the walk's start. What was not found
// since then may not be treated as empty.
class WalkRootChanged : public std::runtime_error {
 public:
  explicit WalkRootChanged(const boost::filesystem::path& root);
};

// The root of a walk as it was at the walk's start. An entry that vanishes after it was listed is
// gone, unless the storage was unmounted, renamed or replaced: then it is out of reach.
//
// Threads: require_unchanged may be called from any thread.
class WalkRoot {
 public:
  // No root: it never changes.
  WalkRoot() = default;

  // Remembers the directory that is there now. A path without a status counts as changed.
  explicit WalkRoot(const boost::filesystem::path& path);

  // Errors: WalkRootChanged unless the path still leads to the same directory.
  void require_unchanged() const;

 private:
  boost::filesystem::path m_path;
  dev_t m_device = 0;
  ino_t m_inode = 0;
};

}  // namespace catalog
