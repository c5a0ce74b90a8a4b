#include "catalog/messages/repair_messages.h"

#include <sstream>

#include "dct/report_error.h"
#include "record/run_record.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace catalog {

namespace {

using ErrorType = RepairMessages::ErrorType;

std::string action(ErrorType type, const std::string& dir, const std::string& basename) {
  const std::string po = "the po for basename " + basename + " and directory " + dir;
  switch (type) {
    case ErrorType::begin_target:
    case ErrorType::begin_source:
      return "begin a transaction for " + dir;
    case ErrorType::commit_target:
    case ErrorType::commit_source:
      return "commit a transaction for " + dir;
    case ErrorType::get_from_target:
    case ErrorType::get_from_source:
      return "get " + po;
    case ErrorType::put_to_target:
      return "store " + po;
    case ErrorType::remove_from_source:
      return "remove " + po;
    case ErrorType::list_source:
      return "get the basenames from " + dir;
  }
  return "";
}

}  // namespace

void RepairMessages::case_issues(const record::Directory& directory) const {
  write_to_log("Client " + directory.client + " and policy " + directory.policy +
               " has case sensitivity issues.\n");
}

void RepairMessages::moving(record::Directory& directory, const record::Moved& moved,
                            const MadeForTarget& made) const {
  record::run_record().add(directory, moved);
  for (const record::Made& each : made) record::run_record().add(each);
  (void)record::run_record().commit();  // a repair goes on without its record
}

void RepairMessages::replacing(record::Directory& directory,
                               const database::PORow& replaced) const {
  record::run_record().add(directory, replaced);
}

void RepairMessages::moved(const record::Moved& moved, const fs::path& from,
                           const fs::path& to) const {
  write_to_log("Moved " + std::to_string(moved.basenames.size()) + " POs from " + from.string() +
               " to " + to.string() + "\n");
}

void RepairMessages::collision(record::Directory& directory, const record::Collision& collision,
                               const fs::path& from, const std::string& po) {
  m_collisions_found = true;
  record::run_record().add(directory, collision);
  std::ostringstream warning;
  warning << "Warning: a PO with the name " << collision.basename
          << " but a different POID already exists for the client " << directory.client
          << " and policy " << directory.policy << "; not moving " << collision.basename << " from "
          << from << "\n.";
  write_to_log(warning.str());
  m_collision_log.write(from.string() + "|" + collision.basename + "|" + po + "|\n");
}

std::string RepairMessages::database_error(record::Directory& directory, ErrorType type, int status,
                                           const fs::path& dir, const std::string& basename) {
  std::string text = "ERROR(" + CRStatusToStringA(status) + "): unable to " +
                     action(type, dir.string(), basename) + ".";
  if (type == ErrorType::get_from_source) {
    record::run_record().add(directory, record::UnparsedName{basename, CRStatusToStringA(status)});
  }
  write_to_log(text + "\n");
  dct::report_error(text + "\n");
  return text;
}

void RepairMessages::unrepaired(record::Directory& directory, const fs::path& policy_dir,
                                const std::string& reason) {
  report_failed(directory, "ERROR: could not repair " + policy_dir.string() + "; " + reason + "\n",
                reason);
}

void RepairMessages::report_collisions() const {
  if (!m_collisions_found) return;
  dct::report_error("Metadata collisions were encountered.\nSee " + m_collision_log.path() + "\n");
}

}  // namespace catalog
