#include "sandbox/list_pos.h"

#include <algorithm>

#include <boost/filesystem/operations.hpp>

#include "platform/sqlite_podb.h"

namespace fs = boost::filesystem;

namespace sandbox {

namespace {

void list_dir(const fs::path& policy_dir, std::vector<std::string>& lines) {
  const std::string place =
      policy_dir.parent_path().filename().string() + "/" + policy_dir.filename().string() + "|";
  const PODB::BasenameVisitor add = [&](std::string_view columns) {
    lines.push_back(place + std::string(columns));
  };
  SQLitePODB database("", policy_dir.string());
  const cr_status_t status = database.exec_sql(
      "SELECT basename || '|' || poid || '|' || size || '|' || mtime || '|' || hex(record) FROM po",
      &add);
  if (status != k_status_ok) {
    throw Cr_ErrnoException(status, "could not list " + policy_dir.string(),
                            CRStatusToStringA(status));
  }
}

}  // namespace

std::vector<std::string> list_pos(const fs::path& catalog) {
  std::vector<std::string> lines;
  for (const auto& entry : fs::recursive_directory_iterator(catalog)) {
    if (entry.path().filename() == "po.db") list_dir(entry.path().parent_path(), lines);
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

}  // namespace sandbox
