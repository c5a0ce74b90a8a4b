#pragma once

#include <sys/types.h>

#include <stdexcept>

#include <boost/filesystem/path.hpp>

namespace catalog {

// The root of a walk is not the directory any more that it was at the walk's start. Nothing that was
// not found since then may be taken for empty.
class WalkRootChanged : public std::runtime_error {
 public:
  explicit WalkRootChanged(const boost::filesystem::path& root);
};

// The root of a walk as it was at the walk's start. What is listed and then not found is gone, unless
// the storage was unmounted, renamed or replaced meanwhile: then it is out of reach.
//
// Threads: require_unchanged may be called from any thread.
class WalkRoot {
 public:
  // None; it never changes.
  WalkRoot() = default;

  // Remembers the directory that is there now. One that cannot be looked at has changed.
  explicit WalkRoot(const boost::filesystem::path& path);

  // Errors: WalkRootChanged unless the path still leads to the same directory.
  void require_unchanged() const;

 private:
  boost::filesystem::path m_path;
  dev_t m_device = 0;
  ino_t m_inode = 0;
};

}  // namespace catalog
