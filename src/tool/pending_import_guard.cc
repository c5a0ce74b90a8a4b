#include "tool/pending_import_guard.h"

#include <algorithm>
#include <optional>

#include "console/run_log.h"
#include "dct/filesystem.h"
#include "dct/report_error.h"
#include "podb/spadb.h"
#include "tvr_utils/queries.h"

namespace {

std::nullopt_t unreadable(const std::string& reason) {
  ErrorA("the SPA database " + reason);
  return std::nullopt;
}

// Whether an event waits for its import; nothing if that is unknown. Reads every record: a table that
// cannot be read to its end might have such an event.
std::optional<bool> event_is_pending(const boost::filesystem::path& storage_root) {
  SpaDB::CSpaDatabase& database = SpaDB::CSpaDatabase::Instance();
  cr_status_t status = database.open(storage_root.string());
  if (status != k_status_ok) return unreadable("could not be opened: " + CRStatusToStringA(status));
  const auto table = database.GetTable("events");
  if (table == nullptr) return unreadable("has no events table");
  bool pending = false;
  std::vector<SpaDB::CColumn> record;
  status = table->ListRecordsStart();
  if (status == k_status_ok) status = table->ListRecordsNext(record);
  for (; status == k_status_ok; status = table->ListRecordsNext(record)) {
    const auto event = std::find_if(record.begin(), record.end(), [](const SpaDB::CColumn& column) {
      return column.name() == "eventstring";
    });
    if (event == record.end()) return unreadable("has events without an eventstring");
    if (event->data().find("IMAGEREPEVENT{size:") != std::string::npos) pending = true;
  }
  if (status == k_status_end_of_iteration) return pending;
  return unreadable("could not be read to its end: " + CRStatusToStringA(status));
}

}  // namespace

bool no_imports_are_pending(const boost::filesystem::path& storage_root,
                            const boost::filesystem::path& admincmd_dir) {
  if (!dct::filesystem::exists(storage_root)) {
    dct::report_error("ERROR: The provided storage database location ( " + storage_root.string() +
                      " ) does not exist\n");
    return false;
  }
  const std::optional<bool> pending = event_is_pending(storage_root);
  if (!pending) {
    dct::report_error("ERROR: Failed to get the events table in SpaDB\n");
    return false;
  }
  if (!*pending && !tvr_utils::CheckPendImpListIsExisting(admincmd_dir)) return true;
  dct::report_error(
      "Some images are waiting to be imported, Please run again after import job completed!\n"
      "If you decide to delete the metadata for all images, Please refer to "
      "--FORCE_CONSISTENCY_ALL_IMAGE option.\n");
  return false;
}
