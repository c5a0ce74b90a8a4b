#include "catalog/messages/messages.h"

#include "dct/report_error.h"
#include "record/run_record.h"

namespace catalog {

using record::run_record;

void Messages::done(const record::Directory& directory) {
  run_record().done(directory);
  end(directory);
}

void Messages::failed(record::Directory& directory, const std::string& reason) {
  m_totals.add_failed_dir();
  run_record().failed(directory, reason);
  end(directory);
}

void Messages::end(const record::Directory& directory) {
  m_totals.add(directory.counts);
  store_totals(m_totals);
}

void Messages::report_failed(record::Directory& directory, const std::string& report,
                             const std::string& reason) {
  failed(directory, reason);
  write_to_log(report);
  dct::report_error(report);
}

record::Directory directory_of(const boost::filesystem::path& policy_dir) {
  const boost::filesystem::path client_dir = policy_dir.parent_path();
  record::Directory directory;
  directory.dsid = client_dir.parent_path().filename().string();
  directory.client = client_dir.filename().string();
  directory.policy = policy_dir.filename().string();
  return directory;
}

void store_totals(const RunTotals& totals) {
  run_record().note([&](record::Run& run) {
    run.dirs = totals.dirs();
    run.failed_dirs = totals.failed_dirs();
    run.skipped_dirs = totals.skipped_dirs();
    run.counts = totals.counts();
  });
}

}  // namespace catalog
