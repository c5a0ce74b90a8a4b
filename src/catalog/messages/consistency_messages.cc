#include "catalog/messages/consistency_messages.h"

#include "console/run_log.h"
#include "console/standard_streams.h"
#include "dct/filesystem.h"
#include "dct/report_error.h"
#include "record/run_record.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace catalog {

using dct::filesystem::as_utf8;
using record::run_record;

namespace {

// The text that names an image copy everywhere, with a line end.
std::string text_of(const record::Directory& directory, const record::Orphan& orphan) {
  return "{client: " + directory.client + ", policy: " + directory.policy +
         ", backup_time: " + std::to_string(orphan.backup_time) +
         ", copy_number: " + std::to_string(orphan.copy_number) + "}.\n";
}

// The line with the number of POs, and a line for each PO of another copy.
std::string taken_text(const std::string& verb, const record::Orphan& orphan) {
  std::string text = verb + " " + std::to_string(orphan.pos) + " POs.\n";
  for (const std::string& basename : orphan.other_copies) text += "also takes " + basename + "\n";
  return text;
}

std::string with_one_line_end(const std::string& text) {
  return text.substr(0, text.find_last_not_of('\n') + 1) + "\n";
}

std::string not_compared_text(int status, const std::string& what, const std::string& reason) {
  return with_one_line_end("ERROR (" + CRStatusToStringA(status) +
                           ") : could not compare the Tavrin catalog and deduplication metadata" +
                           what + "; " + reason);
}

}  // namespace

void ConsistencyMessages::begin_missing() const {
  m_missing_images_log.write("backupid|client_name|policy_name|copy_num|\n");
}

void ConsistencyMessages::started(record::Directory& directory, const fs::path& policy_dir) const {
  run_record().add(directory);
  write_to_log("Started processing policy dir " + as_utf8(policy_dir) + "\n");
}

void ConsistencyMessages::unparsed(record::Directory& directory, const fs::path& policy_dir,
                                   const record::UnparsedName& name) {
  run_record().add(directory, name);
  write_to_log("ERROR: could not parse PO file name; " + name.reason + "; dirname " +
               as_utf8(policy_dir) + "\n");
}

void ConsistencyMessages::unparsed_number(record::Directory& directory, const fs::path& policy_dir,
                                          const record::UnparsedName& name) {
  unparsed(directory, policy_dir, name);
  WarningA("not a number in the PO file name " + name.basename + "; dirname " +
           as_utf8(policy_dir));
}

void ConsistencyMessages::future_copies(const fs::path& policy_dir) {
  if (m_warned_of_clock.exchange(true)) return;
  WarningA(as_utf8(policy_dir) + " has copies that are newer than this host's " +
           "clock by more than a day: a wrong clock makes orphans of live images");
}

void ConsistencyMessages::missing(const record::MissingCopy& copy) {
  run_record().add(copy);
  m_missing_images_log.write(copy.client + "_" + std::to_string(copy.backup_time) + "|" +
                             copy.client + "|" + copy.policy + "|" +
                             std::to_string(copy.copy_number) + "|\n");
}

void ConsistencyMessages::none_listed(const fs::path& policy_dir) const {
  WarningA("the backup catalog has none of the copies in " + as_utf8(policy_dir));
}

void ConsistencyMessages::would_delete(record::Directory& directory, const record::Orphan& orphan) {
  run_record().add(directory, orphan);
  const std::string text = text_of(directory, orphan);
  console::print(text);
  write_to_log("Would have deleted the POs for the image: " + text +
               taken_text("Would delete", orphan));
}

void ConsistencyMessages::deleted(record::Directory& directory, const record::Orphan& orphan) {
  run_record().add(directory, orphan);
  write_to_log("Deleted the POs for the image: " + text_of(directory, orphan) +
               taken_text("Deleted", orphan));
}

std::string ConsistencyMessages::not_deleted(record::Directory& directory,
                                             const record::Orphan& orphan) {
  run_record().add(directory, orphan);
  std::string error =
      "ERROR: could not delete the POs for the image: " + text_of(directory, orphan);
  write_to_log(error);
  return error;
}

void ConsistencyMessages::not_approved(record::Directory& directory, const record::Orphan& orphan) {
  record::Orphan left = orphan;
  left.other_copies.clear();  // a record lists those that were deleted
  run_record().add(directory, left);
  write_to_log("Not approved, left: " + text_of(directory, orphan));
}

void ConsistencyMessages::took_others(const record::Directory& directory,
                                      const record::Orphan& orphan, std::uint64_t taken_pos) const {
  WarningA("the deletion took " + std::to_string(taken_pos) + " POs instead of " +
           std::to_string(orphan.pos) + " for the image " + text_of(directory, orphan));
}

void ConsistencyMessages::unfinished(record::Directory& directory, const fs::path& policy_dir,
                                     const std::string& reason) {
  report_failed(directory,
                "ERROR: the deletion in " + as_utf8(policy_dir) + " is not finished: " + reason +
                    "; the next deletion goes on\n",
                reason);
}

void ConsistencyMessages::not_compared(record::Directory& directory, const fs::path& policy_dir,
                                       int status, const std::string& reason) {
  report_failed(directory, not_compared_text(status, " for " + as_utf8(policy_dir), reason),
                reason);
}

void ConsistencyMessages::not_listed(int status, const std::string& reason) const {
  const std::string report = not_compared_text(status, "", reason);
  write_to_log(report);
  dct::report_error(report);
}

}  // namespace catalog
