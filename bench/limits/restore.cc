// The indispensable work of a restore: reads each directory's rows from the record and inserts them, in
// one transaction for each directory.
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/limits/database.h"
#include "bench/limits/in_parallel.h"

namespace {

using limits::Database;
using limits::Statement;

struct Dir {
  std::string id;
  std::string path;
};

std::vector<Dir> dirs_of(const std::string& record, const std::string& tree) {
  Database database(record, Database::Mode::read);
  Statement rows(database,
                 "SELECT d.id, dsid || '/' || client || '/' || policy FROM directory d JOIN "
                 "client_policy p ON p.id = client_policy");
  std::vector<Dir> dirs;
  while (rows.step()) {
    dirs.push_back({std::string(rows.text(0)), tree + "/" + std::string(rows.text(1))});
  }
  return dirs;
}

void restore(const std::string& record, const Dir& dir) {
  Database source(record, Database::Mode::read);
  Database target(dir.path + "/po.db", Database::Mode::write);
  Statement rows(source, "SELECT basename, poid, size, mtime, record FROM saved WHERE id BETWEEN " +
                             dir.id + " << 32 AND (" + dir.id + " + 1 << 32) - 1");
  Statement put(target, "INSERT INTO po VALUES (?, ?, ?, ?, ?)");
  target.exec("PRAGMA synchronous=EXTRA");
  target.exec("BEGIN IMMEDIATE");
  while (rows.step()) {
    put.bind_row(rows);
    (void)put.step();
  }
  target.exec("COMMIT");
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 4) throw std::runtime_error("usage: limit-restore TREE RECORD THREADS");
  limits::start_sqlite();
  const std::string record = argv[2];
  const auto dirs = dirs_of(record, argv[1]);
  limits::in_parallel(static_cast<unsigned>(std::stoul(argv[3])), dirs.size(),
                      [&](std::size_t i) { restore(record, dirs[i]); });
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "limit-restore: %s\n", error.what());
  return 1;
}
