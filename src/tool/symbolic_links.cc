#include "tool/symbolic_links.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include <boost/filesystem/operations.hpp>

#include "catalog/walk/dirs_iterator.h"
#include "console/run_log.h"
#include "console/standard_streams.h"
#include "dct/report_error.h"
#include "dct/shell.h"
#include "record/run_record.h"
#include "signals/interrupt.h"
#include "status/status.h"

namespace fs = boost::filesystem;
namespace errc = boost::system::errc;

namespace {

using Paths = std::vector<fs::path>;

boost::system::error_code system_error(int error) {
  return {error, boost::system::system_category()};
}

void report_unreadable(const fs::path& path, const boost::system::error_code& error) {
  dct::report_error("ERROR: could not look for symbolic links in " + path.string() + ": " +
                    error.message() + "\n");
}

// Whether the walk of the repair opens the directory: the tree, the walked DSID, and its clients.
bool is_walked(const fs::path& tree, const fs::path& dir) {
  if (dir == tree) return true;
  const fs::path below = dir.lexically_relative(tree);
  const auto depth = std::distance(below.begin(), below.end());
  return depth < static_cast<std::ptrdiff_t>(catalog::k_policy_dir_depth) &&
         catalog::is_walked_dsid(below.begin()->string());
}

// Searches a tree. Most file systems give the type of an entry with its name; only on the others every
// entry needs an lstat. Boost's iterator drops that type.
class Search {
 public:
  explicit Search(const fs::path& tree) : m_tree(tree), m_dirs{tree} {}

  // Only one directory is open at a time, however deep the tree is.
  void run() {
    while (!m_dirs.empty() && !util::interrupted()) {
      const fs::path next = m_dirs.back();
      m_dirs.pop_back();
      list(next);
    }
  }

  const Paths& links() const { return m_links; }
  bool is_complete() const { return m_is_complete && m_dirs.empty(); }

 private:
  void list(const fs::path& dir);
  int list(const fs::path& dir, DIR& entries);
  void add(const fs::path& dir, const dirent& entry);
  unsigned char type_of(const fs::path& path);
  void leave_out(const fs::path& path, int error);

  const fs::path& m_tree;
  Paths m_dirs;  // still to be listed
  Paths m_links;
  bool m_is_complete = true;
};

// Treats a vanished directory as empty.
void Search::list(const fs::path& dir) {
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(::opendir(dir.c_str()), ::closedir);
  const int error = entries ? list(dir, *entries) : errno;
  if (error == 0 || error == ENOENT) return;
  if (is_walked(m_tree, dir)) {
    throw fs::filesystem_error("could not read a directory", dir, system_error(error));
  }
  leave_out(dir, error);
}

int Search::list(const fs::path& dir, DIR& entries) {
  while (true) {
    errno = 0;
    const dirent* entry = ::readdir(&entries);
    if (entry == nullptr) return errno;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") add(dir, *entry);
  }
}

void Search::add(const fs::path& dir, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN && entry.d_type != DT_DIR && entry.d_type != DT_LNK) return;
  const fs::path path = dir / entry.d_name;
  const unsigned char type = entry.d_type == DT_DIR ? entry.d_type : type_of(path);
  if (type == DT_LNK) m_links.push_back(path);
  if (type == DT_DIR) m_dirs.push_back(path);
}

unsigned char Search::type_of(const fs::path& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) == 0) return IFTODT(info.st_mode);
  if (errno != ENOENT && errno != ENOTDIR) leave_out(path, errno);
  return DT_UNKNOWN;
}

void Search::leave_out(const fs::path& path, int error) {
  report_unreadable(path, system_error(error));
  m_is_complete = false;
}

// False, after a report, if the path of the link is too long for the system.
bool note(const fs::path& tree, const fs::path& link) {
  boost::system::error_code error;
  const fs::path target = fs::read_symlink(link, error);
  if (error == errc::filename_too_long) {
    report_unreadable(link, error);
    return false;
  }
  if (error) throw fs::filesystem_error("could not read a symbolic link", link, error);
  InfoA("symbolic link " + link.string() + " to " + target.string());
  record::run_record().add(
      record::Link{link.lexically_relative(tree).string(), target.string(), false});
  return true;
}

bool is_gone(const fs::path& link) {
  boost::system::error_code error;
  return fs::symlink_status(link, error).type() == fs::file_not_found;
}

}  // namespace

SymbolicLinks note_symbolic_links(const fs::path& tree) {
  Search search(tree);
  search.run();
  SymbolicLinks links;
  links.may_be_more = !search.is_complete();
  for (const fs::path& link : search.links()) {
    if (note(tree, link)) {
      links.noted.push_back(link.lexically_relative(tree));
    } else {
      links.may_be_more = true;
    }
  }
  (void)record::run_record().commit();
  if (!links.noted.empty() && console::reports_were_lost()) {
    throw Cr_ErrnoException(EIO, "the symbolic links could not be noted and were not removed");
  }
  return links;
}

// The walk follows a link that could not be removed. That loses nothing, but the operator must know.
void remove_symbolic_links(const fs::path& tree, const SymbolicLinks& links) {
  if (!links.noted.empty() || links.may_be_more) {
    (void)dct::run_in_shell("find " + dct::in_double_quotes(tree.string()) +
                            " -type l -exec rm {} \\;");
  }
  for (const fs::path& link : links.noted) {
    if (is_gone(tree / link)) {
      record::run_record().add(record::Link{link.string(), "", true});
    } else {
      dct::report_error("ERROR: the symbolic link " + (tree / link).string() +
                        " could not be removed\n");
    }
  }
  (void)record::run_record().commit();
}

bool any_link_is_gone(const fs::path& tree, const SymbolicLinks& links) {
  return std::any_of(links.noted.begin(), links.noted.end(),
                     [&](const fs::path& link) { return is_gone(tree / link); });
}
