#include "catalog/walk/dirs_iterator.h"

#include <boost/filesystem/operations.hpp>
#include <boost/lexical_cast/try_lexical_convert.hpp>

#include "console/standard_streams.h"
#include "dct/log_file.h"

namespace fs = boost::filesystem;

namespace catalog {

namespace {

constexpr unsigned long k_walked_dsid = 2;

bool at_end(const fs::directory_iterator& level) {
  return level == fs::directory_iterator();
}

bool try_dsid(const std::string& name, unsigned long& dsid) {
  return boost::conversion::try_lexical_convert(name, dsid);
}

// Whether an entry without a status is a link that cannot lead to a storage.
bool leads_nowhere(const fs::directory_entry& entry, const boost::system::error_code& error) {
  namespace errc = boost::system::errc;
  if (error == errc::too_many_symbolic_link_levels) return true;
  return error == errc::filename_too_long && fs::is_symlink(entry.symlink_status());
}

}  // namespace

bool is_walked_dsid(const std::string& name) {
  unsigned long dsid = 0;
  return try_dsid(name, dsid) && dsid == k_walked_dsid;
}

DirsIterator::DirsIterator(const fs::path& root, dct::util::LogFile* log, unsigned long depth,
                           PassedOver passed_over)
    : m_root(root), m_log(log), m_depth(depth), m_passed_over(passed_over) {
  m_levels.push(fs::directory_iterator(root));
  skip_non_dsid_dirs();
  do_increment(false);
}

void DirsIterator::do_increment(bool advance_first) {
  while (!m_levels.empty()) {
    if (advance_first) {
      ++m_levels.top();
      skip_non_dsid_dirs();
      advance_first = false;
    }
    if (!settle_on_directory()) {
      m_levels.pop();
      advance_first = true;  // the parent moves past the directory just finished
      continue;
    }
    if (m_levels.size() == m_depth) return;
    m_levels.push(open_level(m_levels.top()->path()));
  }
}

// Steps over other entries; false at the end of the level. A link counts as its target.
bool DirsIterator::settle_on_directory() {
  fs::directory_iterator& level = m_levels.top();
  while (!at_end(level) && !is_directory(*level)) ++level;
  return !at_end(level);
}

bool DirsIterator::is_directory(const fs::directory_entry& entry) const {
  boost::system::error_code error;
  const fs::file_status status = entry.status(error);
  if (status.type() == fs::file_not_found) m_root.require_unchanged();
  if (status.type() == fs::status_error && !leads_nowhere(entry, error)) {
    throw fs::filesystem_error("could not look at a directory entry", entry.path(), error);
  }
  return fs::is_directory(status);
}

// A vanished directory counts as empty: the repair removes directories that it made in vain.
fs::directory_iterator DirsIterator::open_level(const fs::path& dir) const {
  boost::system::error_code error;
  fs::directory_iterator level(dir, error);
  if (error == boost::system::errc::no_such_file_or_directory) {
    m_root.require_unchanged();
  } else if (error) {
    throw fs::filesystem_error("could not read a directory", dir, error);
  }
  return level;
}

bool DirsIterator::equal(const DirsIterator& other) const {
  if (m_levels.empty() || other.m_levels.empty()) {
    return m_levels.empty() == other.m_levels.empty();
  }
  return m_levels.top() == other.m_levels.top();
}

void DirsIterator::skip_non_dsid_dirs() {
  if (m_levels.size() != 1) return;
  for (fs::directory_iterator& level = m_levels.top(); !at_end(level); ++level) {
    const std::string name = level->path().filename().string();
    unsigned long dsid = 0;
    const bool is_number = try_dsid(name, dsid);
    if (is_number && dsid == k_walked_dsid) return;
    write_to_log((is_number ? "Skip DSID: " : "Invalid DSID: ") + level->path().string() + "\n");
  }
}

void DirsIterator::write_to_log(const std::string& text) const {
  if (m_passed_over == PassedOver::silent) return;
  if (m_log != nullptr) {
    m_log->write(text);
  } else {
    console::write_or_lose(text);
  }
}

}  // namespace catalog
