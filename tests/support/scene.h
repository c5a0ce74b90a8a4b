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
using Words = std::vector<std::string>;

// What asks for each task.
const Words k_scan{"--scan_client_name_case"};
const Words k_repair{"--repair_client_name_case"};
const Words k_forced_repair{"--repair_client_name_case", "--force"};
const Words k_deletion{"--FORCE_DEDUPE_METADATA_CONSISTENCY"};
const Words k_dry_run{"--FORCE_DEDUPE_METADATA_CONSISTENCY", "--dry_run"};

// What lets the last two list the backup catalog once.
const Words k_one_listing{"--one_listing"};

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
  void put(const std::string& client, const std::string& policy, const Words& basenames) const;

  // Replaces a command of the product by a shell script.
  void script(const std::string& name, const std::string& text) const {
    write_script(admincmd(name), text);
  }

  // Runs a shell script in the storage's root.
  void sh(const std::string& script) const;

  // What starts the program with the arguments, the product's location in front.
  Words command(const Words& arguments) const;
  Child::Environment environment() const {
    return {{"KSREGISTRY", m_storage.registry_file().string()}};
  }
  std::unique_ptr<Child> start(const Words& arguments) const {
    return std::make_unique<Child>(command(arguments), environment());
  }

  // Runs it to its end.
  Ended run(const Words& arguments) const { return start(arguments)->wait(); }
  Ended scan(int threads = 1) const { return run_task(k_scan, threads); }
  Ended repair(int threads = 1) const { return run_task(k_repair, threads); }
  Ended remove_orphans(int threads = 1, const Words& more = {}) const {
    return run_task(k_deletion, threads, more);
  }
  Ended dry_run(int threads = 1, const Words& more = {}) const {
    return run_task(k_dry_run, threads, more);
  }

  // Runs mdfixup-undo to its end, the product's location after the arguments.
  Ended undo(Words arguments) const;

  // Runs it by way of a shell script in the storage's root, in which "$@" stands for the program and its arguments.
  Ended run_in_shell(const std::string& script, const Words& arguments) const;

  // All logs below the log directory whose names begin so, one behind the other.
  std::string logs(const std::string& prefix) const;
  std::string run_log() const { return logs("mdfixup.log"); }

  // Every PO below the directory `catalog` of the storage, a line each.
  Words pos(const std::string& catalog = "catalog") const;

  // Every file of the storage but the logs, with its content.
  std::map<std::string, std::string> snapshot() const;

 private:
  Ended run_task(const Words& task, int threads, const Words& more = {}) const;

  TempDir m_dir;
  sandbox::StorageBuilder m_storage;
};

// The lines of `text` that begin so, sorted, with their line ends.
Words lines_beginning(const std::string& text, const std::string& prefix);

// Runs statements on a database with the sqlite3 command, and returns what it printed.
std::string sqlite(const boost::filesystem::path& file, const std::string& statements);

}  // namespace support
