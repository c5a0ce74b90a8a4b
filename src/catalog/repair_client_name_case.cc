#include "catalog/repair_client_name_case.h"

#include <ctime>

#include <boost/algorithm/string/case_conv.hpp>

#include "catalog/podb/repair_podb.h"
#include "dct/log_file.h"
#include "dct/report_error.h"

namespace fs = boost::filesystem;

namespace catalog {

namespace {

// Equal for all directories whose POs may belong to each other, and only for these.
std::string lock_name(const podb::PolicyLocation& location) {
  return std::to_string(location.dsid) + "/" + boost::algorithm::to_lower_copy(location.client) +
         "/" + location.policy;
}

}  // namespace

RepairClientNameCase::RepairClientNameCase(const fs::path& log_directory,
                                           const fs::path& catalog_dir, unsigned num_threads,
                                           bool stop_on_error)
    : BaseTraverseCatalog(log_directory, catalog_dir, num_threads, stop_on_error) {
  init_log_file(log_dir(), "repaired_client_names_with_case_sensitivity_issues." +
                               std::to_string(std::time(nullptr)));
  dct::util::make_LogFile(
      log_dir() / ("dedupe_client_name_repair_collisions." + std::to_string(std::time(nullptr))),
      m_collision_log);
}

int RepairClientNameCase::visit_dir(const fs::path& policy_dir) {
  try {
    const int status = repair(policy_dir);
    if (status == k_status_handled) {
      m_collisions_found = true;
      return k_status_ok;
    }
    if (status != k_status_ok) note_failed_dir();
    return status;
  } catch (const WalkRootChanged&) {
    throw;
  } catch (const Cr_ErrnoException& error) {
    return report_unrepaired(error.GetStatus(), policy_dir, error.GetString());
  } catch (const std::exception& error) {
    return report_unrepaired(k_status_malformed, policy_dir, error.what());
  }
}

int RepairClientNameCase::repair(const fs::path& policy_dir) {
  const util::KeyLock alone(m_spellings_locks, lock_name(podb::PolicyLocation(policy_dir)));
  podb::RepairPODB visitor(policy_dir, log(), *m_collision_log);
  if (!visitor.has_database()) require_same_root();
  const CountsAdder counted(totals_to_add_to(), visitor.counts());
  return visitor.visit_podb_impl();
}

int RepairClientNameCase::report_unrepaired(int status, const fs::path& policy_dir,
                                            const std::string& text) {
  report_failed_dir("ERROR: could not repair " + policy_dir.string() + "; " + text + "\n");
  return status == k_status_ok ? k_status_malformed : status;
}

std::string RepairClientNameCase::findings() const {
  const DirCounts counts = totals().counts();
  return std::to_string(counts.moved_pos) + " POs moved, " + std::to_string(counts.collisions) +
         " collisions";
}

void RepairClientNameCase::summarize_impl() {
  if (!m_collisions_found) return;
  dct::report_error("Metadata collisions were encountered.\nSee " + m_collision_log->path() + "\n");
}

}  // namespace catalog
