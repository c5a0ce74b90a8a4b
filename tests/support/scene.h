#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "files/storage_layout.h"
#include "sandbox/child.h"
#include "sandbox/list_pos.h"
#include "sandbox/pid_files_lock.h"
#include "sandbox/storage_builder.h"
#include "tests/support/temp_dir.h"

namespace scenario {

using sandbox::Child;
using sandbox::Ended;
using support::read_text;
using support::write_script;
using support::write_text;
using Words = std::vector<std::string>;

inline Words joined(Words first, const Words& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// The options of each task.
const Words k_scan{"--scan_client_name_case"};
const Words k_repair{"--repair_client_name_case"};
const Words k_forced_repair{"--repair_client_name_case", "--force"};
const Words k_deletion{"--FORCE_DEDUPE_METADATA_CONSISTENCY"};
const Words k_dry_run{"--FORCE_DEDUPE_METADATA_CONSISTENCY", "--dry_run"};

// Lists the backup catalog once, in a deletion or a dry run.
const Words k_one_listing{"--one_listing"};

// The request to start the services again.
const std::string k_start_services =
    "Please start Tavrin Deduplication services with the following commands:\n"
    "\t/usr/quorv/tavrin/bin/tvsvcwatch\n\t/usr/quorv/ksde/ksconfigure/ksde start\n";

// A storage in a temporary directory, and the program to run on it. The services stay as they are
// while it exists, unless it writes the pid files itself.
class Scene : sandbox::PidFilesLock, support::TempDir, public sandbox::StorageBuilder {
 public:
  explicit Scene(Use use = Use::read)
      : PidFilesLock(use), StorageBuilder(TempDir::path() / "kestrel") {}

  boost::filesystem::path lock_file() const { return root() / layout::k_lock_file; }
  boost::filesystem::path admincmd(const std::string& name) const {
    return product() / "tavrin/bin/admincmd" / name;
  }
  boost::filesystem::path po_db(const std::string& client, const std::string& policy) const {
    return policy_dir(client, policy) / layout::k_po_database;
  }

  // Stores POs with these names in a policy directory.
  void put(const std::string& client, const std::string& policy, const Words& basenames) const;

  // Replaces a command of the product by a shell script.
  void script(const std::string& name, const std::string& text) const {
    write_script(admincmd(name), text);
  }

  // Runs a shell script in the storage's root.
  void sh(const std::string& script) const;

  // The command line of the program, with the product's location.
  Words command(const Words& arguments) const {
    return joined({MDFIXUP_PROGRAM, "--tvr_location", product().string()}, arguments);
  }
  Child::Environment environment() const { return {{"KSREGISTRY", registry_file().string()}}; }
  std::unique_ptr<Child> start(const Words& arguments) const {
    return std::make_unique<Child>(command(arguments), environment());
  }

  // Each runs the program to its end.
  Ended run(const Words& arguments) const { return start(arguments)->wait(); }
  Ended scan(int threads = 1) const { return run_task(k_scan, threads); }
  Ended repair(int threads = 1) const { return run_task(k_repair, threads); }
  Ended remove_orphans(int threads = 1, const Words& more = {}) const {
    return run_task(k_deletion, threads, more);
  }
  Ended dry_run(int threads = 1, const Words& more = {}) const {
    return run_task(k_dry_run, threads, more);
  }

  // Runs mdfixup-undo to its end, with the product's location.
  Ended undo(const Words& arguments) const;

  // Runs a shell script in the storage's root; its arguments "$@" are the program's command line.
  Ended run_in_shell(const std::string& script, const Words& arguments) const;

  // Runs statements on the database of a policy directory, and returns the output of sqlite3.
  std::string sql(const std::string& client, const std::string& policy,
                  const std::string& statements) const;

  // The text of all logs whose names begin with `prefix`.
  std::string logs(const std::string& prefix) const;
  std::string run_log() const { return logs("mdfixup.log"); }

  // Every PO below a directory of the storage, a line each.
  Words pos(const std::string& tree = layout::k_metadata_tree) const {
    return sandbox::list_pos(root() / tree);
  }

  // The content of every file of the storage, except logs.
  std::map<std::string, std::string> snapshot() const;

 private:
  Ended run_task(const Words& task, int threads, const Words& more = {}) const;
};

// The lines of `text` that begin with `prefix`, sorted, with their line ends.
Words lines_beginning(const std::string& text, const std::string& prefix);
inline Words sorted_lines(const std::string& text) {
  return lines_beginning(text, "");
}

// Runs the sqlite3 command on a database, and returns its output.
std::string sqlite(const boost::filesystem::path& file, const std::string& statements);

}  // namespace scenario
