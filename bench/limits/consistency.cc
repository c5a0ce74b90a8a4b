// The indispensable work of a dry run or deletion. For each directory, it lists the basenames, runs the
// product's query, and prints or deletes the orphans. Then it lists the whole backup catalog once.
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>

#include "bench/limits/copies.h"
#include "bench/limits/in_parallel.h"

namespace {

void delete_orphans(limits::Database& database, const std::string& client,
                    const std::vector<limits::Copy>& copies) {
  for (const limits::Copy& copy : copies) {
    if (copy.listed) continue;
    database.exec("DELETE FROM po WHERE basename LIKE '" + client + "_" +
                  std::to_string(copy.time) + "_C" + std::to_string(copy.number) + "%';");
  }
}

void print(const limits::Findings& findings) {
  const std::string text = findings.orphans + findings.missing;
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void visit(const limits::PolicyDir& dir, const limits::ImageQuery& query, bool dry_run) {
  using limits::Database;
  Database database(dir.path + "/po.db", dry_run ? Database::Mode::read : Database::Mode::write);
  std::vector<limits::Copy> copies = limits::copies_in(database, dir.client);
  limits::Findings findings;
  limits::compare(query, dir, copies, findings);
  if (!dry_run) delete_orphans(database, dir.client, copies);
  print(findings);
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 6) {
    throw std::runtime_error(
        "usage: limit-consistency dry_run|deletion TREE QUERY DISK_POOL THREADS");
  }
  limits::start_sqlite();
  const bool dry_run = std::strcmp(argv[1], "dry_run") == 0;
  const limits::ImageQuery query{argv[3], argv[4]};
  const auto dirs = limits::policy_dirs(argv[2]);
  limits::in_parallel(static_cast<unsigned>(std::stoul(argv[5])), dirs.size(),
                      [&](std::size_t i) { visit(dirs[i], query, dry_run); });
  print({"", limits::missing_elsewhere(query, dirs)});
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "limit-consistency: %s\n", error.what());
  return 1;
}
