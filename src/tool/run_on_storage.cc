#include "tool/run_on_storage.h"

#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <iomanip>
#include <memory>
#include <sstream>
#include <system_error>

#include <boost/filesystem/operations.hpp>

#include "config/version.h"
#include "console/run_log.h"
#include "console/standard_descriptors.h"
#include "cr/config.h"
#include "dct/descriptor_limit.h"
#include "dct/filesystem.h"
#include "dct/report_error.h"
#include "files/storage_layout.h"
#include "lock/file_lock.h"
#include "record/run_record.h"
#include "record/this_host.h"
#include "signals/interrupt.h"
#include "status/status.h"
#include "tool/exit_status.h"
#include "tool/option_table.h"

namespace fs = boost::filesystem;

namespace {

// The commands' output is read by its English words, and the caller may have set no PATH.
void fix_child_environment() {
  constexpr int k_replace = 1;
  if (::setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", k_replace) != 0 ||
      ::setenv("LC_ALL", "C", k_replace) != 0) {
    throw std::system_error(errno, std::generic_category(), "could not set the environment");
  }
}

// Null, after a message, if another run holds the lock.
std::unique_ptr<util::FileLock> take_lock(const fs::path& path) {
  try {
    return util::FileLock::init(path);
  } catch (const Cr_ErrnoException& error) {
    if (error.GetStatus() == k_status_lock_file_exists) {
      dct::report_error("Refusing to run because the lock file " + dct::filesystem::as_utf8(path) +
                        " already exists.\n");
      dct::report_error(util::describe_lock_file(path));
    } else if (error.GetStatus() == k_status_lock_held) {
      dct::report_error(
          "\nRefusing to run because we could not obtain an exclusive lock.\nAnother instance of " +
          progname + " is running.\n");
    }
    return nullptr;
  }
}

// Quotes an argument that does not read as one word, with a backslash before quotes and backslashes.
std::string as_one_word(const std::string& argument) {
  const bool is_one =
      !argument.empty() && argument.find_first_of(" \t\r\n\v\f\"\\") == std::string::npos;
  if (is_one) return argument;
  std::ostringstream quoted;
  quoted << std::quoted(argument);
  return quoted.str();
}

void set_up_run_log(const fs::path& log_dir, int argc, char** argv) {
  const fs::path file = log_dir / layout::k_run_log;
  fs::create_directories(file.parent_path());
  dctLogSetA(file.c_str());
  std::string arguments;
  for (int i = 1; i < argc; ++i) arguments += " " + as_one_word(argv[i]);
  InfoA("start: pid " + std::to_string(::getpid()) + ", arguments" + arguments);
}

}  // namespace

void prepare_process(const char* argv0) {
  util::catch_progress_requests();
  console::open_standard_descriptors();
  fix_child_environment();
  dct::raise_descriptor_limit();
  progname = GetProgramName(argv0);
}

int run_on_storage(int argc, char** argv, const std::function<int(const StoragePaths&)>& work) {
  const auto config = cr::Config::init_from_ksregistry(cr::registry_file(), cr::k_registry_key);
  StoragePaths storage;
  config.get(cr::k_storage_section, cr::k_root_dir_entry, storage.root);
  const auto lock = take_lock(storage.root / layout::k_lock_file);
  if (!lock) return k_exit_failure;
  storage.tree = storage.root / layout::k_metadata_tree;
  storage.work_dir = storage.root / layout::k_work_dir;
  storage.log_dir = cr::get_log_dir(config);
  if (storage.log_dir.empty()) return k_exit_failure;
  set_up_run_log(storage.log_dir, argc, argv);
  return work(storage);
}

void begin_record(const StoragePaths& storage, int argc, char** argv) {
  using std::chrono::nanoseconds;
  using std::chrono::system_clock;
  const auto now = std::chrono::duration_cast<nanoseconds>(system_clock::now().time_since_epoch());
  record::Run run;
  run.arguments.assign(argv + 1, argv + argc);
  run.version = project_version();
  run.host = record::this_host();
  run.pid = ::getpid();
  run.storage_root = storage.root.string();
  run.catalog = storage.tree.string();
  run.start_nanoseconds = now.count();
  listen_to_run_log([](bool is_warning, std::string_view text) {
    const auto severity = is_warning ? record::Severity::warning : record::Severity::error;
    record::run_record().add(severity, std::string(text));
  });
  record::run_record().begin(storage.log_dir, run);
}

void log_mode(const std::string& mode, record::Task task, const StoragePaths& storage) {
  InfoA("mode: " + mode);
  InfoA("storage root " + storage.root.string() + ", catalog " + storage.tree.string() + ", host " +
        record::this_host());
  record::run_record().note([task](record::Run& run) { run.task = task; });
}
