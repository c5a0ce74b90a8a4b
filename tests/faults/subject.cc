#include "tests/faults/subject.h"

#include <signal.h>

#include <cerrno>
#include <sstream>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/range/adaptor/reversed.hpp>

#include "record/run_reader.h"
#include "record/schema.h"
#include "report/report.h"
#include "report/views.h"
#include "sandbox/generator.h"
#include "sandbox/list_pos.h"
#include "sandbox/pid_files_lock.h"
#include "sandbox/text_file.h"
#include "status/status.h"

namespace fs = boost::filesystem;

namespace sandbox::faults {

using boost::algorithm::ends_with;
using boost::algorithm::starts_with;

namespace {

void add_lines(const std::string& text, Lines& lines) {
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    // A full stop follows the line end of a collision's warning.
    line.erase(0, line.find_first_not_of('.'));
    const bool names_log = starts_with(line, "Log file: ") || starts_with(line, "Missing images f");
    if (!names_log) lines.insert(line);
  }
}

void copy_storage(const fs::path& from, const fs::path& to) {
  fs::remove_all(to);
  const Ended ended = sandbox::run({"cp", "-a", from.string(), to.string()});
  if (ended.exit_status != 0) throw Cr_ErrnoException(EIO, "could not copy a storage", ended.err);
}

// Fills a storage with work for every task: misplaced POs, directories with POs of each other, the same
// name with different contents in two directories, orphans, missing images, and a symbolic link.
// `scale` multiplies the directories.
void fill_for_all_tasks(const StorageBuilder& storage, unsigned scale) {
  Plan plan;
  plan.clients = scale;
  plan.images = 8;
  plan.pairs = scale;
  plan.miscased_share = 0.2;
  plan.orphan_share = 0.3;
  (void)generate(storage, plan);
  constexpr std::size_t k_record_bytes = 16;
  std::uint64_t seed = 0;
  // Two of the three names collide.
  for (const std::string client : {"both", "Both"}) {
    PolicyDirWriter dir(storage.policy_dir(client, "policy"), k_record_bytes, ++seed);
    for (const char* name : {"Both_1600000000_C1_F1.img", "Both_1600000001_C1_F1.img"})
      dir.put(name);
    if (client == "both") dir.put("Both_1600000002_C1_F1.img");
    dir.finish();
  }
  fs::create_symlink("both", storage.policy_dir("BOTH", "policy").parent_path());
}

}  // namespace

const std::vector<Task>& all_tasks() {
  const std::string consistency = "--FORCE_DEDUPE_METADATA_CONSISTENCY";
  const std::string repair = "--repair_client_name_case";
  constexpr int k_failed_scan = 255;
  // The orphans of the skipped client are not approved.
  const std::vector<std::string> approving_run{consistency, "--dry_run", "--except", "both"};
  static const std::vector<Task> tasks{
      {"scan", {"--scan_client_name_case"}, Effect::none, k_failed_scan},
      {"dry_run", {consistency, "--dry_run"}, Effect::none},
      {"deletion", {consistency}, Effect::deletes},
      {"one_listing", {consistency, "--one_listing"}, Effect::deletes},
      {"repair", {repair}, Effect::moves},
      {"resumed", {repair}, Effect::moves, 1, true},
      {"forced", {repair, "--force"}, Effect::moves, 1, false, true},
      {"approved", {consistency}, Effect::deletes, 1, false, false, approving_run},
      {"approved_one",
       {consistency, "--one_listing"},
       Effect::deletes,
       1,
       false,
       false,
       approving_run},
      {"undeletion", {}, Effect::restores, 1, false, false, {consistency}},
      {"unrepair", {}, Effect::restores, 1, false, false, {repair}},
      {"resumed_unrepair", {}, Effect::restores, 1, true, false, {repair}},
  };
  return tasks;
}

Subject::Subject(const fs::path& dir, const Settings& settings, const Task& task)
    : m_dir(dir),
      m_settings(settings),
      m_task(task),
      m_storage(dir / "storage"),
      m_environment{{"KSREGISTRY", m_storage.registry_file().string()}} {
  fill_for_all_tasks(m_storage, settings.scale);
  m_original = state();
  if (!m_task.earlier.empty()) make_earlier_run();
  keep();
}

// Moves its record out of the storage, so that the storage has only records of later runs.
void Subject::make_earlier_run() {
  std::vector<std::string> words{m_settings.program, "--tvr_location",
                                 m_storage.product().string()};
  words.insert(words.end(), m_task.earlier.begin(), m_task.earlier.end());
  const PidFilesLock lock(PidFilesLock::Use::read);
  const Ended ended = sandbox::run(words, m_environment);
  if (ended.exit_status != 0) throw Cr_ErrnoException(EIO, "could not run the task", ended.err);
  fs::rename(record_files().begin()->second, earlier_record());
}

void Subject::keep() const {
  for (const auto& log : fs::directory_iterator(m_storage.log_dir())) fs::remove_all(log);
  const fs::path beginning = m_dir / "beginning";
  if (fs::exists(beginning)) fs::rename(beginning, before_stop());
  copy_storage(m_storage.root(), beginning);
}

Subject::~Subject() {
  try {
    call_services("-terminate", "stop");
  } catch (const std::exception&) {
    return;  // a service that could not be stopped only sleeps
  }
}

void Subject::call_services(const char* monitor_argument, const char* engine_argument) const {
  if (!m_task.services) return;
  const std::string product = m_storage.product().string();
  (void)sandbox::run({product + "/tavrin/bin/tvsvcwatch", monitor_argument}, m_environment);
  (void)sandbox::run({product + "/ksde/ksconfigure/ksde", engine_argument}, m_environment);
}

int Subject::services() const {
  int running = 0;
  for (const fs::path& file :
       {fs::path("/var/run/poolmgrd.pid"), fs::path("/var/run/segstored.pid"),
        m_storage.product() / "run" / "tvsvcwatch.pid"}) {
    const std::string pid = read_text(file);
    if (!pid.empty() && ::kill(std::stoi(pid), 0) == 0) ++running;
  }
  return running;
}

void Subject::restore() const {
  call_services("-terminate", "stop");
  copy_storage(m_dir / "beginning", m_storage.root());
  call_services("", "start");
  if (m_task.services && services() != k_all_services)
    throw Cr_ErrnoException(EPERM, "the services cannot be started");
}

std::unique_ptr<Child> Subject::start(const std::vector<std::string>& prefix) const {
  std::vector<std::string> words = prefix;
  const std::string record = earlier_record().string();
  if (m_task.effect == Effect::restores) {
    words.insert(words.end(), {m_settings.undo, "restore", record});
  } else {
    words.push_back(m_settings.program);
    if (!m_task.earlier.empty()) words.insert(words.end(), {"--approved", record});
  }
  words.insert(words.end(), {"--tvr_location", m_storage.product().string(), "--num_threads",
                             std::to_string(m_settings.threads)});
  words.insert(words.end(), m_task.arguments.begin(), m_task.arguments.end());
  Child::Environment environment = m_environment;
  // The leak sanitizer does not work in a traced process.
  if (!prefix.empty()) environment["ASAN_OPTIONS"] = "detect_leaks=0";
  return std::make_unique<Child>(words, environment);
}

Ended Subject::run(const std::vector<std::string>& prefix) const {
  const PidFilesLock lock(PidFilesLock::Use::read);
  return start(prefix)->wait(k_longest_run_seconds);
}

fs::path Subject::tree_dir() const {
  const fs::path tree = m_storage.tree_dir();
  const fs::path aside = m_storage.root() / layout::k_work_dir;
  if (fs::exists(tree) == fs::exists(aside))
    throw Cr_ErrnoException(EEXIST, "the metadata tree exists twice, or not at all");
  return fs::exists(tree) ? tree : aside;
}

State Subject::state() const {
  State state;
  for (const auto& entry : fs::recursive_directory_iterator(m_storage.root())) {
    const std::string file = entry.path().string().substr(m_storage.root().size() + 1);
    const bool is_other = starts_with(file, "quorv/") || starts_with(file, "log/");
    if (!is_other && file != layout::k_lock_file) state.files.insert(file);
  }
  // In a copy: the check rolls back transactions that the next run must find.
  const fs::path look = m_dir / "look";
  copy_storage(tree_dir(), look);
  check_databases(look);
  for (const std::string& po : list_pos(look)) state.pos.insert(po);
  return state;
}

Reports Subject::reports(const Ended& ended) const {
  Reports reports;
  add_lines(ended.out, reports.out);
  add_lines(ended.err, reports.err);
  for (const auto& entry : fs::recursive_directory_iterator(m_storage.log_dir())) {
    if (!fs::is_regular_file(entry.path()) || entry.path().parent_path() == runs_dir()) continue;
    const bool is_run_log = ends_with(entry.path().string(), layout::k_run_log);
    add_lines(read_text(entry.path()), is_run_log ? reports.run_log : reports.task_logs);
  }
  return reports;
}

std::string Subject::run_log() const {
  return read_text(m_storage.log_dir() / layout::k_run_log);
}

std::map<std::int64_t, fs::path> Subject::record_files() const {
  std::map<std::int64_t, fs::path> files;
  if (!fs::exists(runs_dir())) return {};
  for (const auto& entry : fs::directory_iterator(runs_dir())) {
    if (entry.path().extension() != ".db") continue;
    files[record::RunReader(entry.path().string()).run().start_nanoseconds] = entry.path();
  }
  return files;
}

std::vector<record::Run> Subject::records() const {
  std::vector<record::Run> runs;
  for (const auto& [start, file] : record_files())
    runs.push_back(record::RunReader(file.string()).run());
  return runs;
}

Lines Subject::saved_pos() const {
  Lines pos;
  for (const auto& [start, file] : record_files()) {
    record::RunReader(file.string())
        .rows(std::string("SELECT policy || '|' || ") + k_listed_columns +
                  " FROM saved s JOIN directory d ON d.id = s.id / " +
                  std::to_string(record::k_saved_of_directory) +
                  " JOIN client_policy p ON p.id = d.client_policy",
              [&](const record::RunReader::Row& row) { pos.insert(row.text(0)); });
  }
  return pos;
}

Ended Subject::undo(std::vector<std::string> words) const {
  words.insert(words.begin(), m_settings.undo);
  return sandbox::run(words, m_environment);
}

std::string Subject::undo_runs() const {
  const PidFilesLock lock(PidFilesLock::Use::read);
  std::string errors;
  const std::map<std::int64_t, fs::path> files = record_files();
  for (const auto& [start, file] : boost::adaptors::reverse(files)) {
    record::RunReader reader(file.string());
    if (reader.count("saved") + reader.count("moved") + reader.count("link") == 0) continue;
    for (const char* command : {"show", "restore"}) {
      const Ended ended =
          undo({command, file.string(), "--tvr_location", m_storage.product().string()});
      if (ended.exit_status != 0) errors += ended.err;
    }
  }
  return errors;
}

std::string Subject::report() const {
  report::Request request;
  request.words = {m_storage.log_dir().string()};
  const report::Report report = report::make_report(request);
  for (const report::Fault& fault : report.faults)
    throw Cr_ErrnoException(EIO, fault.path, fault.text);
  std::ostringstream text;
  report::write_text(report, text);
  return text.str();
}

}  // namespace sandbox::faults
