#pragma once

#include <cstddef>
#include <cstdint>
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

// The names of clients and policies that are wanted; all, if there is none.
struct WantedNames {
  std::optional<std::string> client;
  std::optional<std::string> policy;

  bool are_all() const { return !client && !policy; }
};

// The policy directories that a record names, as directories of a catalog. Memory goes by their number.
//
// Threads: constant once it is made; sources from several threads.
class RecordedDirs {
 public:
  // Those for which an SQL condition holds; `d` is the directory in it.
  // Errors: those of the reader; Cr_ErrnoException for names that lead out of the catalog.
  RecordedDirs(record::RunReader& reader, const std::string& condition, const WantedNames& wanted,
               const boost::filesystem::path& catalog);

  // Hands out each directory once, in byte order of the paths. Refers to this object.
  std::unique_ptr<DirsSource> source() const;

  std::size_t size() const { return m_paths; }

  // The numbers in the record of a directory that the source handed out.
  std::vector<std::int64_t> ids_of(const std::string& path) const;

 private:
  struct Dir {
    std::string path;
    std::int64_t id;
    bool operator<(const Dir& other) const {
      return path != other.path ? path < other.path : id < other.id;
    }
  };
  class Source;

  std::vector<Dir> m_dirs;  // sorted
  std::size_t m_paths = 0;  // of them
};

// Joins a path below the catalog to it.
// Errors: Cr_ErrnoException for one that is not below it.
boost::filesystem::path below_catalog(const boost::filesystem::path& catalog,
                                      const std::string& path);

}  // namespace catalog
