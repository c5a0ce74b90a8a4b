#include "catalog/restore/recorded_dirs.h"

#include <algorithm>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

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

class RecordedDirs::Source : public DirsSource {
 public:
  explicit Source(const std::vector<Dir>& dirs) : m_next(dirs.begin()), m_end(dirs.end()) {}

  std::string get_next_path() override {
    const boost::lock_guard<boost::mutex> guard(m_mutex);
    if (m_next == m_end) return "";
    const std::string& path = m_next->path;
    while (m_next != m_end && m_next->path == path) ++m_next;
    return path;
  }

  void stop() override {
    const boost::lock_guard<boost::mutex> guard(m_mutex);
    m_next = m_end;
  }

 private:
  boost::mutex m_mutex;
  std::vector<Dir>::const_iterator m_next BOOST_THREAD_GUARDED_BY(m_mutex);
  const std::vector<Dir>::const_iterator m_end;
};

RecordedDirs::RecordedDirs(record::RunReader& reader, const std::string& condition,
                           const WantedNames& wanted, const fs::path& tree_root) {
  const auto is_wanted = [](const std::optional<std::string>& name, const std::string& is) {
    return !name || *name == is;
  };
  reader.rows(
      "SELECT d.id, dsid, client, policy FROM directory d JOIN client_policy p ON p.id = "
      "client_policy WHERE d.id BETWEEN 1 AND " +
          std::to_string(record::k_saved_of_directory / 2) + " AND " + condition,
      [&](const record::RunReader::Row& row) {
        const std::string client = row.text(2);
        const std::string policy = row.text(3);
        if (!is_wanted(wanted.client, client) || !is_wanted(wanted.policy, policy)) return;
        for (const std::string& name : {row.text(1), client, policy}) {
          if (!is_name(name)) refuse(name);
        }
        const fs::path path = tree_root / row.text(1) / client / policy;
        m_dirs.push_back({path.string(), row.number(0)});
      });
  std::sort(m_dirs.begin(), m_dirs.end());
  for (std::size_t i = 0; i < m_dirs.size(); ++i) {
    if (i == 0 || m_dirs[i].path != m_dirs[i - 1].path) ++m_paths;
  }
}

std::unique_ptr<DirsSource> RecordedDirs::source() const {
  return std::make_unique<Source>(m_dirs);
}

std::vector<std::int64_t> RecordedDirs::ids_of(const std::string& path) const {
  std::vector<std::int64_t> ids;
  for (auto dir = std::lower_bound(m_dirs.begin(), m_dirs.end(), Dir{path, 0});
       dir != m_dirs.end() && dir->path == path; ++dir) {
    ids.push_back(dir->id);
  }
  return ids;
}

}  // namespace catalog
