#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "sandbox/child.h"
#include "sandbox/storage_builder.h"
#include "tests/support/temp_dir.h"

namespace support {

using sandbox::Child;
using sandbox::Ended;
using sandbox::run;

// What standard output is told where the services are to be started again.
const std::string k_start_services =
    "Please start Tavrin Deduplication services with the following commands:\n"
    "\t/usr/quorv/tavrin/bin/tvsvcwatch\n\t/usr/quorv/ksde/ksconfigure/ksde start\n";

// A storage in a temporary directory, and the program to run on it.
class Scene {
 public:
  Scene() : m_storage(m_dir.path() / "kestrel") {}

  const sandbox::StorageBuilder& storage() const { return m_storage; }
  const boost::filesystem::path& root() const { return m_storage.root(); }
  boost::filesystem::path lock_file() const { return root() / "mdfixup.lock"; }
  boost::filesystem::path admincmd(const std::string& name) const;
  boost::filesystem::path po_db(const std::string& client, const std::string& policy) const;

  // Stores POs of these names in a policy directory.
  void put(const std::string& client, const std::string& policy,
           const std::vector<std::string>& basenames) const;

  // Replaces a command of the product by a shell script.
  void script(const std::string& name, const std::string& text) const;

  // Runs the program with the arguments, the product's location in front, and waits for it.
  Ended run(const std::vector<std::string>& arguments) const;
  Ended scan(int threads = 1) const { return run_task("--scan_client_name_case", threads, {}); }
  Ended repair(int threads = 1) const { return run_task("--repair_client_name_case", threads, {}); }
  Ended remove_orphans(int threads = 1) const { return run_task(k_consistency, threads, {}); }
  Ended dry_run(int threads = 1, std::vector<std::string> more = {}) const;

  // Runs it by way of a shell script, in which "$@" stands for the program and its arguments.
  Ended run_in_shell(const std::string& script, const std::vector<std::string>& arguments) const;

  std::unique_ptr<Child> start(const std::vector<std::string>& arguments) const;

  // What is started then.
  std::vector<std::string> command(const std::vector<std::string>& arguments) const;
  Child::Environment environment() const;

  // All logs below the log directory whose names begin so, one behind the other.
  std::string logs(const std::string& prefix) const;
  std::string run_log() const { return logs("mdfixup.log"); }

  // Every PO below the directory `catalog` of the storage, a line each.
  std::vector<std::string> pos(const std::string& catalog = "catalog") const;

  // Every file of the storage but the logs, with its content.
  std::map<std::string, std::string> snapshot() const;

 private:
  static constexpr const char* k_consistency = "--FORCE_DEDUPE_METADATA_CONSISTENCY";

  Ended run_task(const char* mode, int threads, std::vector<std::string> more) const;
  std::unique_ptr<Child> start_behind(std::vector<std::string> prefix,
                                      const std::vector<std::string>& arguments) const;

  TempDir m_dir;
  sandbox::StorageBuilder m_storage;
};

// The lines of `text` that begin so, sorted, with their line ends.
std::vector<std::string> lines_beginning(const std::string& text, const std::string& prefix);

// Runs statements on a database with the sqlite3 command, and returns what it printed.
std::string sqlite(const boost::filesystem::path& file, const std::string& statements);

}  // namespace support
