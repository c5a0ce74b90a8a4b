#include "undo/restore/recorded_dirs.h"

#include <algorithm>

#include "catalog/walk/listed_dirs.h"
#include "record/run_reader.h"
#include "record/schema.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace catalog {

namespace {

// A record is not trusted: none of its names may lead out of the metadata tree.
bool is_name(const std::string& text) {
  return !text.empty() && text != "." && text != ".." &&
         text.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

[[noreturn]] void refuse(const std::string& path) {
  throw Cr_ErrnoException(k_status_malformed,
                          "the record names a path that is not below the catalog", path);
}

}  // namespace

fs::path below_tree_root(const fs::path& tree_root, const std::string& path) {
  const fs::path below = path;
  const bool is_below = !below.empty() && std::all_of(below.begin(), below.end(), [](auto& part) {
    return is_name(part.string());
  });
  if (!is_below) refuse(path);
  return tree_root / below;
}

RecordedDirs::RecordedDirs(record::RunReader& reader, const std::string& condition,
                           const WantedNames& wanted, const fs::path& tree_root) {
  const auto is_wanted = [](const std::optional<std::string>& name, const std::string& is) {
    return !name || *name == is;
  };
  reader.rows(
      "SELECT d.id, dsid, client, policy FROM directory d JOIN client_policy p ON p.id = "
      "client_policy WHERE d.id BETWEEN 1 AND " +
          std::to_string(record::k_saved_of_directory / 2) + " AND " + condition + " ORDER BY d.id",
      [&](const record::RunReader::Row& row) {
        const std::string client = row.text(2);
        const std::string policy = row.text(3);
        if (!is_wanted(wanted.client, client) || !is_wanted(wanted.policy, policy)) return;
        for (const std::string& name : {row.text(1), client, policy}) {
          if (!is_name(name)) refuse(name);
        }
        const fs::path path = tree_root / row.text(1) / client / policy;
        m_ids[path.string()].push_back(row.number(0));
      });
}

std::unique_ptr<DirsSource> RecordedDirs::source() const {
  return std::make_unique<ListedDirs>([this, next = m_ids.begin()]() mutable {
    return next == m_ids.end() ? std::string() : next++->first;
  });
}

}  // namespace catalog
