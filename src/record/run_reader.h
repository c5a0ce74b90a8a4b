#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "record/findings.h"

namespace SQLite {
class Database;
class Statement;
}  // namespace SQLite

namespace record {

// Reads the record of one run: whole, or what a run that was killed or still goes on has stored until
// now. Neither the file nor what it holds is trusted; nothing is written.
//
// What is read: all at the time of the first call; rows come in the order in which they were stored.
// Texts are the bytes stored. A reference to a row that is not there gives empty texts.
// Threads: one thread. Memory does not depend on the record.
// Errors: the constructor and every function throw Cr_ErrnoException, naming the file, when it is no
//   record, has a newer version, or cannot be read.
class RunReader {
 public:
  // A policy directory, and how it ended.
  struct DirectoryRow {
    Directory directory;
    std::int64_t client_policy = 0;  // equal for directories of one client and policy
    bool done = false;
    bool failed = false;
    std::string reason;  // of a failed one
  };
  struct OrphanRow {
    std::int64_t id = 0;
    std::int64_t directory = 0;
    Orphan orphan;  // without other_copies
  };
  struct MissingRow {
    std::int64_t client_policy = 0;
    std::int64_t backup_time = 0;
    std::uint32_t copy_number = 0;
  };
  // A PO of another copy that an orphan's deletion takes.
  struct CollateralRow {
    std::int64_t client_policy = 0;
    std::string client;
    std::string policy;
    std::int64_t backup_time = 0;  // the orphan's
    std::uint32_t copy_number = 0;
    std::string basename;
  };
  // POs that one directory gave to one client.
  struct MoveRow {
    std::string client;
    std::string policy;
    std::string target_client;
    std::uint64_t pos = 0;
  };
  struct CollisionRow {
    std::string client;
    std::string policy;
    Collision collision;
  };
  struct UnparsedRow {
    std::string client;
    std::string policy;
    UnparsedName name;
  };

  template <class Row>
  using Visitor = std::function<void(const Row&)>;
  using TextVisitor = std::function<void(const std::string&)>;
  using ClientPolicyVisitor =
      std::function<void(std::int64_t id, const std::string& client, const std::string& policy)>;

  // As many rows as there are.
  static constexpr std::int64_t k_all = -1;

  explicit RunReader(std::string file);
  ~RunReader();
  RunReader(const RunReader&) = delete;
  RunReader& operator=(const RunReader&) = delete;

  Run run();

  // A table's rows go to `visit`, the first `most` of them.
  void client_policies(const ClientPolicyVisitor& visit);
  void directories(const Visitor<DirectoryRow>& visit);
  void orphans(const Visitor<OrphanRow>& visit);
  void missing(const Visitor<MissingRow>& visit);
  void collateral(const Visitor<CollateralRow>& visit, std::int64_t most = k_all);
  void moves(const Visitor<MoveRow>& visit, std::int64_t most = k_all);  // the largest first
  void moved_basenames(const TextVisitor& visit);
  void collisions(const Visitor<CollisionRow>& visit, std::int64_t most = k_all);
  void links(const Visitor<Link>& visit, std::int64_t most = k_all);
  void unparsed(const Visitor<UnparsedRow>& visit, std::int64_t most = k_all);
  void messages(Severity severity, const TextVisitor& visit, std::int64_t most = k_all);

  // How many rows a table has: "moved"; with a severity, those of it.
  std::uint64_t count(const char* table);
  std::uint64_t count(Severity severity);

  const std::string& file() const { return m_file; }

 private:
  template <class Read>
  auto guarded(Read read);
  template <class EachRow>
  void rows(const std::string& sql, std::int64_t most, EachRow each_row);
  void require_record();

  const std::string m_file;
  std::unique_ptr<SQLite::Database> m_database;
};

}  // namespace record
