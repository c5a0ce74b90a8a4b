#include "cr/utils/dedupe_engine_process_control.h"

#include <signal.h>

#include <fstream>

#include <boost/filesystem/operations.hpp>

#include "dct/filesystem.h"
#include "dct/popen_read.h"
#include "dct/report_error.h"
#include "dct/shell.h"

namespace fs = boost::filesystem;

namespace cr::utils {

class DedupeEngineProcessControl::ProcessControlImpl {
 public:
  ProcessControlImpl(const fs::path& base_dir, const fs::path& pid_dir)
      : m_base_dir(base_dir),
        m_tvprocs(m_base_dir / "tavrin" / "bin" / "tvprocs"),
        m_tvsvcwatch(m_base_dir / "tavrin" / "bin" / "tvsvcwatch"),
        m_ksde(m_base_dir / "ksde" / "ksconfigure" / "ksde"),
        m_pid_dir(pid_dir) {}

  void start_all() const;
  void stop_all() const;
  bool all_are_stopped() const;
  bool tvprocs_lists_proc(const std::string& name) const;
  std::string get_start_services_string() const { return start_services_string; }
  std::string get_stop_services_string() const;

 private:
  // Operators' scripts match these texts; they name the default directory wherever the product is.
  static const std::string start_services_string;
  static const std::string stop_services_string;

  std::string get_stop_tvsvcwatch_string() const { return m_tvsvcwatch.string() + " -terminate"; }
  bool is_running(const std::string& name) const;

  const fs::path m_base_dir;
  const fs::path m_tvprocs;
  const fs::path m_tvsvcwatch;
  const fs::path m_ksde;
  const fs::path m_pid_dir;
};

const std::string DedupeEngineProcessControl::ProcessControlImpl::start_services_string =
    "\t/usr/quorv/tavrin/bin/tvsvcwatch\n"
    "\t/usr/quorv/ksde/ksconfigure/ksde start\n";
const std::string DedupeEngineProcessControl::ProcessControlImpl::stop_services_string =
    "\n\t/usr/quorv/ksde/ksconfigure/ksde stop\n";

namespace {

// The process id in the file; 0 if there is none. A negative number is none: it names a process group.
pid_t pid_in(const fs::path& file) {
  boost::system::error_code ignored;
  if (!fs::is_regular_file(file, ignored)) return 0;  // opening a pipe would block
  std::ifstream stream(file.string());
  pid_t pid = 0;
  if (!(stream >> pid) || pid < 0) return 0;
  return pid;
}

// The state of the services is not checked afterwards, so this reports a command that failed.
void start(const std::string& command) {
  if (dct::run_in_shell(command)) return;
  dct::report_error("ERROR: the services may not run; the command " + command + " failed\n");
}

}  // namespace

void DedupeEngineProcessControl::ProcessControlImpl::start_all() const {
  start(m_tvsvcwatch.string());
  start(m_ksde.string());  // its default action is to start
}

void DedupeEngineProcessControl::ProcessControlImpl::stop_all() const {
  // all_are_stopped decides, not the exit statuses.
  (void)dct::run_in_shell(get_stop_tvsvcwatch_string());
  (void)dct::run_in_shell(m_ksde.string() + " stop");
}

bool DedupeEngineProcessControl::ProcessControlImpl::all_are_stopped() const {
  return !tvprocs_lists_proc("tvsvcwatch") && !is_running("poolmgrd") && !is_running("segstored");
}

bool DedupeEngineProcessControl::ProcessControlImpl::tvprocs_lists_proc(
    const std::string& name) const {
  // The blank is part of the command's fixed text, which has no arguments.
  dct::PopenRead pipe(dct::k_query_line_capacity, dct::PopenRead::start(m_tvprocs.string() + " "));
  bool listed = false;
  while (!listed && pipe.read_line()) listed = pipe.line() == name;
  pipe.close_query();
  return listed;
}

bool DedupeEngineProcessControl::ProcessControlImpl::is_running(const std::string& name) const {
  const fs::path file = m_pid_dir / (name + ".pid");
  if (!dct::filesystem::exists(file)) return false;
  const pid_t pid = pid_in(file);
  if (pid == 0) {
    dct::report_error("Could not read the pid from " + file.string() + ".\nIf " + name +
                      " is not running, please remove " + file.string() + "\n\n");
    return true;
  }
  constexpr int k_only_probe = 0;
  return ::kill(pid, k_only_probe) == 0;
}

std::string DedupeEngineProcessControl::ProcessControlImpl::get_stop_services_string() const {
  return "\t" + get_stop_tvsvcwatch_string() + stop_services_string;
}

DedupeEngineProcessControl::DedupeEngineProcessControl(const fs::path& base_dir,
                                                       const fs::path& pid_dir)
    : m_impl(new ProcessControlImpl(base_dir, pid_dir)) {}

void DedupeEngineProcessControl::start_all() const {
  m_impl->start_all();
}
void DedupeEngineProcessControl::stop_all() const {
  m_impl->stop_all();
}
bool DedupeEngineProcessControl::all_are_stopped() const {
  return m_impl->all_are_stopped();
}
bool DedupeEngineProcessControl::tvprocs_lists_proc(const std::string& name) const {
  return m_impl->tvprocs_lists_proc(name);
}
std::string DedupeEngineProcessControl::get_start_services_string() const {
  return m_impl->get_start_services_string();
}
std::string DedupeEngineProcessControl::get_stop_services_string() const {
  return m_impl->get_stop_services_string();
}

}  // namespace cr::utils
