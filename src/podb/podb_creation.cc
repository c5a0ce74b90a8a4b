#include "podb/podb_creation.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <SQLiteCpp/SQLiteCpp.h>

#include <boost/filesystem/operations.hpp>

#include "files/storage_layout.h"
#include "files/sync.h"
#include "podb/po_schema.h"
#include "podb/sqlite_connection.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace database {

namespace {

constexpr const char* k_journal_suffix = "-journal";
constexpr mode_t k_all_permissions = 07777;
constexpr mode_t k_file_permissions = 0666;

// True for a dangling link: its database is out of reach, not absent.
bool is_there(const fs::path& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 || (errno != ENOENT && errno != ENOTDIR);
}

[[noreturn]] void fail(int error, const std::string& what, const std::string& path) {
  throw Cr_ErrnoException(error, what + path, std::strerror(error));
}

std::string temporary_name(const fs::path& file) {
  return file.string() + ".new";
}

std::vector<std::string> temporary_files(const fs::path& file) {
  const std::string temporary = temporary_name(file);
  return {temporary, temporary + k_journal_suffix};
}

void clear_temporary(const fs::path& file) {
  for (const std::string& name : temporary_files(file)) {
    if (::unlink(name.c_str()) != 0 && errno != ENOENT) fail(errno, "could not remove ", name);
  }
}

const std::string& empty_database(const std::string& file) {
  try {
    return empty_po_database();
  } catch (const SQLite::Exception& error) {
    throw Cr_ErrnoException(database_status(error), "could not create the database " + file,
                            error.what());
  }
}

// Gives what was made the owner and permissions of its directory, for the same users.
void copy_owner_and_mode(const std::string& directory, const std::string& made,
                         mode_t permissions) {
  struct stat around {};
  struct stat own {};
  if (::stat(directory.c_str(), &around) != 0) fail(errno, "could not look at ", directory);
  if (::stat(made.c_str(), &own) != 0) fail(errno, "could not look at ", made);
  const bool has_owner = own.st_uid == around.st_uid && own.st_gid == around.st_gid;
  // Without root, chown fails and the owner stays the user who runs the program.
  if (!has_owner && ::chown(made.c_str(), around.st_uid, around.st_gid) != 0 && errno != EPERM) {
    fail(errno, "could not set the owner of ", made);
  }
  const mode_t wanted = around.st_mode & permissions;
  // chown may have cleared some.
  const bool has_permissions = has_owner && (own.st_mode & k_all_permissions) == wanted;
  if (!has_permissions && ::chmod(made.c_str(), wanted) != 0) {
    fail(errno, "could not set the permissions of ", made);
  }
}

}  // namespace

fs::path podb_file(const fs::path& policy_dir) {
  return policy_dir / layout::k_po_database;
}

PODBCreation::PODBCreation(const fs::path& tree_root, const fs::path& policy_dir)
    : m_tree_root(tree_root), m_file(podb_file(policy_dir)) {
  constexpr int k_attempts = 100;
  try {
    if (!is_there(m_file)) {
      const int error = make_directory(policy_dir, k_attempts);
      if (error != 0) fail(error, "could not create the directory ", policy_dir.string());
      make_database();
    }
    // Also if all is there: a process that was killed may have made it, or removed its journal, without
    // a sync. A power cut would take back what is about to be relied on.
    files::sync_directories(tree_root, policy_dir);
    clear_temporary(m_file);
  } catch (...) {
    remove_made();
    throw;
  }
}

// A run that was killed may have made the directory, and not set its owner.
void PODBCreation::complete_if_empty(const fs::path& dir) const {
  boost::system::error_code error;
  struct stat info {};
  const bool is_own = dir != m_tree_root && ::lstat(dir.c_str(), &info) == 0 &&
                      S_ISDIR(info.st_mode) && info.st_uid == ::geteuid();
  if (!is_own || !fs::is_empty(dir, error) || error) return;
  try {
    copy_owner_and_mode(dir.parent_path().string(), dir.string(), k_all_permissions);
  } catch (const Cr_ErrnoException& fault) {
    if (fault.GetStatus() != ENOENT) throw;  // another worker has undone it
  }
}

// Race: the undo of another worker may remove a directory between its creation and that of one in
// it. It is made again then.
int PODBCreation::make_directory(const fs::path& dir, int attempts) {
  constexpr mode_t k_all_but_umask = 0777;
  boost::system::error_code ignored;
  if (dir == m_tree_root) return fs::is_directory(dir, ignored) ? 0 : ENOENT;
  complete_if_empty(dir.parent_path());
  if (::mkdir(dir.c_str(), k_all_but_umask) == 0) {
    m_made_directories.push_back(dir.string());
    copy_owner_and_mode(dir.parent_path().string(), dir.string(), k_all_permissions);
    return 0;
  }
  const int mkdir_error = errno;
  if (mkdir_error == EEXIST) complete_if_empty(dir);
  if (mkdir_error == EEXIST) return fs::is_directory(dir, ignored) ? 0 : ENOTDIR;
  if (mkdir_error != ENOENT || attempts == 0) return mkdir_error;
  const int error = make_directory(dir.parent_path(), attempts - 1);
  return error != 0 ? error : make_directory(dir, attempts - 1);
}

void PODBCreation::make_database() {
  const std::string file = m_file.string();
  for (const char* suffix : {k_journal_suffix, "-wal"}) {
    if (!is_there(file + suffix)) continue;
    // SQLite would apply it to the new database.
    throw Cr_ErrnoException(k_status_db_unfinished, "could not create the database " + file +
                                                        "; its journal is there without it");
  }
  const std::string temporary = temporary_name(m_file);
  if (is_there(temporary)) clear_temporary(m_file);
  const int error = files::create_synced_file(temporary, empty_database(temporary));
  if (error != 0) fail(error, "could not create the database ", temporary);
  copy_owner_and_mode(m_file.parent_path().string(), temporary, k_file_permissions);
  // link() never overwrites; rename() would replace a database that another process just filled.
  if (::link(temporary.c_str(), file.c_str()) == 0) {
    m_made_database = true;
  } else if (errno != EEXIST) {
    fail(errno, "could not create the database ", file);
  }
}

std::vector<std::string> PODBCreation::made() const {
  std::vector<std::string> made = m_made_directories;
  if (m_made_database) made.push_back(m_file.string());
  return made;
}

void PODBCreation::undo() {
  try {
    // A rolled back transaction has removed the journal, which must not come back without the database.
    if (m_made_database) files::sync_directory(m_file.parent_path().string());
    remove_made();
  } catch (const Cr_ErrnoException&) {
    return;  // the empty database stays
  }
}

void PODBCreation::remove_made() {
  if (m_made_database) (void)::unlink(m_file.c_str());
  m_made_database = false;
  if (!is_there(m_file)) {
    for (const std::string& file : temporary_files(m_file)) (void)::unlink(file.c_str());
  }
  for (; !m_made_directories.empty(); m_made_directories.pop_back()) {
    (void)::rmdir(m_made_directories.back().c_str());  // fails unless it is empty
  }
}

}  // namespace database
