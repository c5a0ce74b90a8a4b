#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "catalog/walk/dirs_source.h"

namespace record {
class RunReader;
}

namespace catalog {

// The wanted client and policy; all, if there is none.
struct WantedNames {
  std::optional<std::string> client;
  std::optional<std::string> policy;

  bool are_all() const { return !client && !policy; }
};

// The policy directories that a record names, as paths below `tree_root`. Memory grows with their
// number.
//
// Threads: never changes; sources may be used from several threads.
class RecordedDirs {
 public:
  // Those for which an SQL condition holds, in which `d` is the directory.
  // Errors: those of the reader; Cr_ErrnoException for names that lead out of the metadata tree.
  RecordedDirs(record::RunReader& reader, const std::string& condition, const WantedNames& wanted,
               const boost::filesystem::path& tree_root);

  // Hands out each directory once, in byte order of the paths. Refers to this object.
  std::unique_ptr<DirsSource> source() const;

  std::size_t size() const { return m_ids.size(); }

  // The numbers that the record has for a directory of the source, ascending.
  const std::vector<std::int64_t>& ids_of(const std::string& path) const { return m_ids.at(path); }

 private:
  std::map<std::string, std::vector<std::int64_t>> m_ids;  // by path
};

// Joins a path from a record to the root of the metadata tree.
// Errors: Cr_ErrnoException for a path that leads out of the tree.
boost::filesystem::path below_tree_root(const boost::filesystem::path& tree_root,
                                        const std::string& path);

}  // namespace catalog
