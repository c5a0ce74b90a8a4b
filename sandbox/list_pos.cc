#include "sandbox/list_pos.h"

#include <algorithm>
#include <map>

#include <boost/filesystem/operations.hpp>

#include "files/storage_layout.h"
#include "podb/sqlite_podb.h"

namespace fs = boost::filesystem;

namespace sandbox {

namespace {

// Lists all before one is opened: opening a database may make or remove files beside it.
std::vector<fs::path> policy_dirs(const fs::path& tree) {
  std::vector<fs::path> dirs;
  for (const auto& entry : fs::recursive_directory_iterator(tree)) {
    if (entry.path().filename() == layout::k_po_database)
      dirs.push_back(entry.path().parent_path());
  }
  return dirs;
}

// Calls `row` with each row that the statement returns, in the database of each policy directory.
template <class Row>
void select_from_all(const fs::path& tree, SQLitePODB::Access access, const std::string& statement,
                     const Row& row) {
  for (const fs::path& policy_dir : policy_dirs(tree)) {
    const SQLitePODB::BasenameVisitor visitor = [&](std::string_view text) {
      row(policy_dir, text);
    };
    SQLitePODB database("", policy_dir.string(), access);
    const cr_status_t status = database.exec_sql(statement, &visitor);
    if (status != k_status_ok) {
      throw Cr_ErrnoException(status, "could not read " + policy_dir.string(),
                              CRStatusToStringA(status));
    }
  }
}

}  // namespace

std::vector<std::string> list_pos(const fs::path& tree) {
  std::vector<std::string> lines;
  select_from_all(tree, SQLitePODB::Access::read_only,
                  std::string("SELECT ") + k_listed_columns + " FROM po",
                  [&](const fs::path& policy_dir, std::string_view columns) {
                    lines.push_back(policy_dir.parent_path().filename().string() + "/" +
                                    policy_dir.filename().string() + "|" + std::string(columns));
                  });
  std::sort(lines.begin(), lines.end());
  return lines;
}

void check_databases(const fs::path& tree) {
  std::map<fs::path, std::string> results;
  for (const fs::path& policy_dir : policy_dirs(tree)) results[policy_dir];
  select_from_all(tree, SQLitePODB::Access::read_write, "PRAGMA integrity_check",
                  [&](const fs::path& policy_dir, std::string_view text) {
                    results[policy_dir] += std::string(text) + "\n";
                  });
  for (const auto& [policy_dir, result] : results) {
    if (result == "ok\n") continue;
    throw Cr_ErrnoException(k_status_db_damaged, policy_dir.string(), result);
  }
}

}  // namespace sandbox
