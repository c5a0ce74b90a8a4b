// The indispensable work of a scan: lists every basename of every directory and compares its beginning.
#include <strings.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "bench/limits/database.h"
#include "bench/limits/in_parallel.h"
#include "bench/limits/policy_dirs.h"

namespace {

bool has_other_case(limits::Database& database, const std::string& client) {
  bool found = false;
  limits::Statement names(database, "SELECT basename FROM po ORDER BY basename");
  while (names.step()) {
    const std::string_view prefix = names.text(0).substr(0, client.size());
    if (prefix == client || prefix.size() != client.size()) continue;
    found = found || ::strncasecmp(prefix.data(), client.data(), client.size()) == 0;
  }
  return found;
}

void scan(const limits::PolicyDir& dir) {
  limits::Database database(dir.path + "/po.db", limits::Database::Mode::read);
  if (!has_other_case(database, dir.client)) return;
  const std::string line = "Client " + dir.client + " has name case-sensitivity issues.\n";
  std::fwrite(line.data(), 1, line.size(), stdout);
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 3) throw std::runtime_error("usage: limit-scan TREE THREADS");
  limits::start_sqlite();
  const auto dirs = limits::policy_dirs(argv[1]);
  const auto threads = static_cast<unsigned>(std::stoul(argv[2]));
  limits::in_parallel(threads, dirs.size(), [&](std::size_t i) { scan(dirs[i]); });
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "limit-scan: %s\n", error.what());
  return 1;
}
