#include "catalog/walk/walk_root.h"

#include <sys/stat.h>

namespace catalog {

WalkRootChanged::WalkRootChanged(const boost::filesystem::path& root)
    : std::runtime_error("the directory " + root.string() +
                         " is not the one any more that the run began with: it was unmounted, "
                         "renamed or replaced") {}

WalkRoot::WalkRoot(const boost::filesystem::path& path) : m_path(path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return;
  m_device = info.st_dev;
  m_inode = info.st_ino;
}

void WalkRoot::require_unchanged() const {
  if (m_path.empty()) return;
  struct stat info {};
  const bool is_same =
      ::stat(m_path.c_str(), &info) == 0 && info.st_dev == m_device && info.st_ino == m_inode;
  if (!is_same) throw WalkRootChanged(m_path);
}

}  // namespace catalog
