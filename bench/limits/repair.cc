// The indispensable work of a repair: lists the names in another letter case, and moves them in groups.
// One pair of transactions moves a group between two databases; the target commits first.
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/limits/database.h"
#include "bench/limits/in_parallel.h"
#include "bench/limits/policy_dirs.h"

namespace {

using limits::Database;
using limits::Statement;

using Groups = std::map<std::string, std::vector<std::string>>;  // spelling -> names

constexpr const char* k_schema =
    "BEGIN; CREATE TABLE po (basename TEXT NOT NULL UNIQUE, poid TEXT NOT NULL, size INTEGER NOT "
    "NULL, mtime INTEGER NOT NULL, record BLOB NOT NULL); PRAGMA user_version=1; COMMIT";

Groups names_out_of_place(Database& source, const std::string& client) {
  Groups groups;
  Statement names(source, "SELECT basename FROM po WHERE basename NOT GLOB '" + client +
                              "*' ORDER BY basename");
  while (names.step()) {
    const std::string_view name = names.text(0);
    if (name.size() < client.size() ||
        ::strncasecmp(name.data(), client.data(), client.size()) != 0) {
      continue;
    }
    groups[std::string(name.substr(0, client.size()))].emplace_back(name);
  }
  return groups;
}

void sync_directory(const std::string& dir) {
  const int descriptor = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ::fsync(descriptor);
  ::close(descriptor);
}

void make_directory(const std::string& parent, const std::string& name) {
  if (::mkdir((parent + name).c_str(), 0755) == 0) sync_directory(parent);
}

// Makes an empty database, which a crash leaves complete or not at all: POs that are moved there are
// removed from the source at once.
void make_database(const std::string& dir, const std::string& file) {
  Database(file + ".new", Database::Mode::create).exec(k_schema);
  if (::rename((file + ".new").c_str(), file.c_str()) != 0) throw std::runtime_error(file);
  sync_directory(dir);
}

std::string target_file(const limits::PolicyDir& dir, const std::string& spelling) {
  const std::size_t names = dir.client.size() + 1 + dir.policy.size();
  const std::string root = dir.path.substr(0, dir.path.size() - names);
  make_directory(root, spelling);
  make_directory(root + spelling + "/", dir.policy);
  const std::string target_dir = root + spelling + "/" + dir.policy;
  const std::string file = target_dir + "/po.db";
  struct stat info {};
  if (::stat(file.c_str(), &info) != 0) make_database(target_dir, file);
  return file;
}

void move_pos(Database& source, Database& target, const std::vector<std::string>& names) {
  Statement get(source, "SELECT * FROM po WHERE basename = ?");
  Statement existing(target, "SELECT poid FROM po WHERE basename = ?");
  Statement put(target, "INSERT OR REPLACE INTO po VALUES (?, ?, ?, ?, ?)");
  Statement remove(source, "DELETE FROM po WHERE basename = ?");
  for (const std::string& name : names) {
    get.bind(name);
    if (!get.step()) throw std::runtime_error(name + " is gone");
    existing.bind(name);
    const bool collides = existing.step() && existing.text(0) != get.text(1);
    if (!collides) {
      put.bind_row(get);
      (void)put.step();
    }
    existing.reset();
    get.reset();
    if (collides) continue;
    remove.bind(name);
    (void)remove.step();
  }
}

void move_group(Database& source, const std::string& file, const std::vector<std::string>& names) {
  Database target(file, Database::Mode::write);
  target.exec("PRAGMA synchronous=EXTRA");
  target.exec("BEGIN IMMEDIATE");
  source.exec("BEGIN IMMEDIATE");
  move_pos(source, target, names);
  target.exec("COMMIT");
  source.exec("COMMIT");
}

// One lock for all directories of a policy whose clients differ only in letter case, because these write
// to each other. Unrelated directories may share a lock, which rarely makes one wait.
std::mutex& lock_of(const limits::PolicyDir& dir) {
  static std::array<std::mutex, 256> locks;
  std::string key = dir.client + "/" + dir.policy;
  std::transform(key.begin(), key.end(), key.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return locks[std::hash<std::string>()(key) % locks.size()];
}

void repair(const limits::PolicyDir& dir) {
  const std::lock_guard<std::mutex> lock(lock_of(dir));
  Database source(dir.path + "/po.db", Database::Mode::write);
  for (const auto& [spelling, names] : names_out_of_place(source, dir.client)) {
    move_group(source, target_file(dir, spelling), names);
  }
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) throw std::runtime_error("usage: limit-repair TREE THREADS");
  limits::start_sqlite();
  const auto dirs = limits::policy_dirs(argv[1]);
  limits::in_parallel(static_cast<unsigned>(std::stoul(argv[2])), dirs.size(),
                      [&](std::size_t i) { repair(dirs[i]); });
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "limit-repair: %s\n", error.what());
  return 1;
}
