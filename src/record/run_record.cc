#include "record/run_record.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>

#include <boost/filesystem/operations.hpp>

#include "console/run_log.h"
#include "console/standard_streams.h"
#include "files/storage_layout.h"
#include "files/sync.h"
#include "record/names.h"
#include "record/record_database.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace record {

namespace {

// SQLite trusts files beside a database by their names. Another user who can make some there could
// get files elsewhere removed.
void make_own_directory(const std::string& path) {
  constexpr mode_t k_mode = 0750;
  struct stat info {};
  if (::mkdir(path.c_str(), k_mode) != 0 && errno != EEXIST) {
    throw Cr_ErrnoException(errno, "could not make " + path, std::strerror(errno));
  }
  const bool is_own = ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) &&
                      info.st_uid == ::geteuid() && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
  if (is_own) return;
  throw Cr_ErrnoException(EPERM, path + " is no directory that this user alone can write to");
}

}  // namespace

RunRecord& run_record() {
  static RunRecord record;
  return record;
}

void RunRecord::begin(const boost::filesystem::path& log_dir, const Run& run) {
  constexpr std::int64_t k_second_nanoseconds = 1000000000;
  const fs::path dir = log_dir / layout::k_records;
  std::string fault;
  {
    const boost::lock_guard<boost::mutex> guard(m_mutex);
    m_file = (dir / (std::to_string(run.start_nanoseconds / k_second_nanoseconds) + "-" +
                     std::to_string(run.pid) + ".db"))
                 .string();
    try {
      fs::create_directories(dir.parent_path());
      make_own_directory(dir.string());
      m_database = std::make_unique<RecordDatabase>(m_file, run);
    } catch (const std::exception& error) {
      fault = error.what();
    }
  }
  if (!fault.empty()) report_failure(fault);
}

bool RunRecord::store(const std::function<void(RecordDatabase&)>& what) {
  std::string fault;
  {
    const boost::lock_guard<boost::mutex> guard(m_mutex);
    if (!m_database) return false;
    try {
      m_database->begin();
      what(*m_database);
      m_database->commit_if_due();
    } catch (const std::exception& error) {
      fault = error.what();
      m_database.reset();  // what was committed stays
    }
  }
  if (!fault.empty()) report_failure(fault);
  return fault.empty();
}

void RunRecord::report_failure(const std::string& why) {
  const char* what_follows =
      m_when_lost == WhenLost::run_goes_on ? "; the run goes on" : "; nothing more is deleted";
  const std::string text =
      "the record of this run, " + m_file + ", could not be written: " + why + what_follows;
  m_failed = true;
  (void)console::write_standard_error("ERROR: " + text + "\n");  // also in the run log
  ErrorA(text);
}

void RunRecord::note(const std::function<void(Run&)>& change) {
  store([&](RecordDatabase& record) { record.change_run(change); });
}

void RunRecord::done(const Directory& directory) {
  if (directory.id == 0) return;
  store([&](RecordDatabase& record) { record.store_state(directory, k_done, ""); });
}

void RunRecord::failed(Directory& directory, const std::string& reason) {
  store([&](RecordDatabase& record) {
    record.store(directory);
    record.store_state(directory, k_failed, reason);
  });
}

bool RunRecord::commit() {
  return store([](RecordDatabase& record) { record.commit(); });
}

// This run may have made the directories: without them a synced record is lost.
bool RunRecord::sync_commits(WhenLost when_lost) {
  m_when_lost = when_lost;
  return store([this](RecordDatabase& record) {
    const fs::path dir = fs::path(m_file).parent_path();
    files::sync_directories(dir.parent_path().parent_path(), dir);
    record.sync_commits();
  });
}

void RunRecord::end(const RunEnd& end) {
  using std::chrono::nanoseconds;
  using std::chrono::system_clock;
  const auto now = std::chrono::duration_cast<nanoseconds>(system_clock::now().time_since_epoch());
  note([&](Run& run) {
    run.end = end;
    run.end_nanoseconds = now.count();
  });
  (void)commit();  // a failure was reported
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  if (m_database) m_database->close();
  m_database.reset();
}

}  // namespace record
