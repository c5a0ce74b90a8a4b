#include "catalog/client_name_case/repair_client_name_case.h"

#include <ctime>

#include "catalog/client_name_case/repair_podb.h"
#include "dct/log_file.h"

namespace fs = boost::filesystem;

namespace catalog {

RepairClientNameCase::RepairClientNameCase(const fs::path& log_dir, const fs::path& tree_root,
                                           unsigned num_threads, bool stop_on_error)
    : BaseTraverseCatalog(log_dir, tree_root, num_threads, stop_on_error) {
  init_log_file(log_dir, "repaired_client_names_with_case_sensitivity_issues." +
                             std::to_string(std::time(nullptr)));
  dct::util::make_LogFile(
      log_dir / ("dedupe_client_name_repair_collisions." + std::to_string(std::time(nullptr))),
      m_collision_log);
  m_messages = std::make_unique<RepairMessages>(log(), *m_collision_log, totals_to_add_to());
}

int RepairClientNameCase::visit_dir(const fs::path& policy_dir) {
  record::Directory directory = directory_of(policy_dir);
  const auto fail = [&](int status, const std::string& why) {
    m_messages->unrepaired(directory, policy_dir, why);
    return status == k_status_ok ? k_status_malformed : status;
  };
  return do_or_fail([&] { return repair(policy_dir, directory); }, fail);
}

int RepairClientNameCase::repair(const fs::path& policy_dir, record::Directory& directory) {
  const podb::PolicyLocation location(policy_dir);
  const util::KeyLock alone(m_spellings_locks, podb::spellings_lock_name(location));
  podb::RepairPODB visitor(policy_dir, *m_messages, directory);
  if (!visitor.has_database()) require_same_root();
  const int status = visitor.visit_podb_impl();
  if (status == k_status_ok || status == k_status_handled) {
    m_messages->done(directory);
    return k_status_ok;
  }
  m_messages->failed(directory, visitor.last_error());
  return status;
}

std::string RepairClientNameCase::findings() const {
  const record::DirCounts counts = totals().counts();
  return number_of(counts, &record::DirCounts::moved_pos) + ", " +
         number_of(counts, &record::DirCounts::collisions);
}

void RepairClientNameCase::summarize_impl() {
  m_messages->report_collisions();
}

}  // namespace catalog
