#include "tool/symbolic_links.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <string>

#include <boost/filesystem/operations.hpp>

#include "catalog/dirs_iterator.h"
#include "dct/report_error.h"
#include "dct/run_in_shell.h"
#include "platform/reports.h"
#include "platform/run_log.h"
#include "platform/status.h"
#include "record/run_record.h"
#include "util/interrupt.h"

namespace fs = boost::filesystem;
namespace errc = boost::system::errc;

namespace {

using Paths = std::vector<fs::path>;

void report_unreadable(const fs::path& path, const boost::system::error_code& error) {
  dct::report_error("ERROR: could not look for symbolic links in " + path.string() + ": " +
                    error.message() + "\n");
}

// Whether the walk of the repair opens the directory: the catalog, the DSID that is walked, and its
// clients.
bool is_walked(const fs::path& catalog, const fs::path& dir) {
  if (dir == catalog) return true;
  const fs::path below = dir.lexically_relative(catalog);
  const auto depth = std::distance(below.begin(), below.end());
  return depth < static_cast<std::ptrdiff_t>(catalog::k_policy_dir_depth) &&
         catalog::is_walked_dsid(below.begin()->string());
}

// What is gone since it was listed has no links.
void list(const fs::path& catalog, const fs::path& dir, Paths& links, Paths& dirs) {
  boost::system::error_code error;
  fs::directory_iterator entry(dir, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    boost::system::error_code unknown;
    const fs::file_status status = entry->symlink_status(unknown);
    if (fs::is_symlink(status)) links.push_back(entry->path());
    if (fs::is_directory(status)) dirs.push_back(entry->path());
    if (status.type() == fs::status_error) report_unreadable(entry->path(), unknown);
  }
  if (!error || error == errc::no_such_file_or_directory) return;
  if (is_walked(catalog, dir)) throw fs::filesystem_error("could not read a directory", dir, error);
  report_unreadable(dir, error);
}

// One directory is open at a time, however deep the tree is.
Paths find_links(const fs::path& catalog) {
  Paths links;
  Paths dirs{catalog};
  while (!dirs.empty() && !util::interrupted()) {
    const fs::path next = dirs.back();
    dirs.pop_back();
    list(catalog, next, links, dirs);
  }
  return links;
}

// False, after a report, for one whose path is too long to be used.
bool note(const fs::path& catalog, const fs::path& link) {
  boost::system::error_code error;
  const fs::path target = fs::read_symlink(link, error);
  if (error == errc::filename_too_long) {
    report_unreadable(link, error);
    return false;
  }
  if (error) throw fs::filesystem_error("could not read a symbolic link", link, error);
  InfoA("symbolic link " + link.string() + " to " + target.string());
  record::run_record().add(
      record::Link{link.lexically_relative(catalog).string(), target.string(), false});
  return true;
}

bool is_gone(const fs::path& link) {
  boost::system::error_code error;
  return fs::symlink_status(link, error).type() == fs::file_not_found;
}

}  // namespace

Paths note_symbolic_links(const fs::path& catalog) {
  Paths noted;
  for (const fs::path& link : find_links(catalog)) {
    if (note(catalog, link)) noted.push_back(link.lexically_relative(catalog));
  }
  (void)record::run_record().commit();
  if (!noted.empty() && platform::reports_were_lost()) {
    throw Cr_ErrnoException(EIO, "the symbolic links could not be noted and were not removed");
  }
  return noted;
}

// One that stays is walked as what it leads to; nothing is lost by that, but it is not what was asked
// for.
void remove_symbolic_links(const fs::path& dir, const Paths& noted) {
  (void)dct::run_in_shell("find " + dct::in_double_quotes(dir.string()) +
                          " -type l -exec rm {} \\;");
  for (const fs::path& link : noted) {
    if (is_gone(dir / link)) {
      record::run_record().add(record::Link{link.string(), "", true});
    } else {
      dct::report_error("ERROR: the symbolic link " + (dir / link).string() +
                        " could not be removed\n");
    }
  }
  (void)record::run_record().commit();
}

bool any_link_is_gone(const fs::path& dir, const Paths& noted) {
  return std::any_of(noted.begin(), noted.end(),
                     [&](const fs::path& link) { return is_gone(dir / link); });
}
