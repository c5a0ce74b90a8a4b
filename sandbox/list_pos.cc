#include "sandbox/list_pos.h"

#include <algorithm>

#include <boost/algorithm/hex.hpp>
#include <boost/filesystem/operations.hpp>

#include "platform/po.h"
#include "platform/sqlite_podb.h"

namespace fs = boost::filesystem;

namespace sandbox {

namespace {

void require(cr_status_t status, const fs::path& policy_dir) {
  if (status != k_status_ok) {
    throw Cr_ErrnoException(status, "could not list " + policy_dir.string(),
                            CRStatusToStringA(status));
  }
}

std::string columns(const PO& po) {
  const POData& data = po.data();
  return data.basename + "|" + data.poid + "|" + std::to_string(data.size) + "|" +
         std::to_string(data.mtime) + "|" + boost::algorithm::hex(data.record);
}

void list_dir(const fs::path& policy_dir, std::vector<std::string>& lines) {
  const std::string place =
      policy_dir.parent_path().filename().string() + "/" + policy_dir.filename().string() + "|";
  SQLitePODB database(policy_dir.parent_path().parent_path().parent_path().string(),
                      policy_dir.string());
  std::vector<std::string> names;
  require(database.get_basenames(names, "1", 0, 0), policy_dir);
  PO po(POCreate());
  for (const std::string& name : names) {
    require(database.get(name, po), policy_dir);
    lines.push_back(place + columns(po));
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
