#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "files/storage_layout.h"
#include "podb/sqlite_podb.h"

namespace sandbox {

// The disk pool of this storage in the simulated product.
extern const std::string k_disk_pool;

// A storage with all that the program finds on a media server: registry file, configuration, metadata
// tree, SPA database, log directory and, under quorv/, a simulated backup product with its catalog.
//
// Threads: one thread.
// Errors: Cr_ErrnoException or filesystem_error, naming the path.
class StorageBuilder {
 public:
  // Makes an empty storage in `dir`, which must be empty or not exist.
  explicit StorageBuilder(const boost::filesystem::path& dir);

  const boost::filesystem::path& root() const { return m_root; }
  boost::filesystem::path registry_file() const { return m_root / "etc" / "ksregistry.cfg"; }
  boost::filesystem::path log_dir() const { return m_root / "log"; }
  boost::filesystem::path product() const { return m_root / "quorv"; }
  boost::filesystem::path tree_dir() const { return m_root / layout::k_metadata_tree; }
  boost::filesystem::path policy_dir(const std::string& client, const std::string& policy) const;

  // Adds an image to the backup catalog, with one fragment of each copy in the disk pool. Without
  // copies, adds nothing.
  void list_image(const std::string& client, const std::string& policy, std::int64_t backup_time,
                  const std::vector<std::uint32_t>& copies,
                  const std::string& disk_pool = k_disk_pool) const;

 private:
  void write_configuration() const;
  void write_product() const;

  boost::filesystem::path m_root;
};

// Fills the path-object database of one policy directory; creates what does not exist.
//
// Threads: one thread.
// Errors: Cr_ErrnoException. `finish` stores what was put; without it nothing is stored.
class PolicyDirWriter {
 public:
  PolicyDirWriter(const boost::filesystem::path& policy_dir, std::size_t record_bytes,
                  std::uint64_t seed);

  // Stores a PO of that name. The name and the seed determine its POID and record.
  void put(const std::string& basename);

  void finish();

 private:
  SQLitePODB m_database;
  const std::size_t m_record_bytes;
  const std::uint64_t m_seed;
};

}  // namespace sandbox
