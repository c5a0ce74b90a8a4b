#pragma once

#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>

namespace cr::utils {

// The services that use the metadata: the backup product's service monitor and the two daemons of
// the deduplication engine.
//
// Threads: one thread.
// Errors: all_are_stopped and tvprocs_lists_proc throw Cr_ErrnoException if the process lister's
//   output cannot be read.
class DedupeEngineProcessControl {
 public:
  // `base_dir`: the backup product's; commands below it run without quotes. `pid_dir`: has the
  // daemons' pid files.
  explicit DedupeEngineProcessControl(const boost::filesystem::path& base_dir,
                                      const boost::filesystem::path& pid_dir = "/var/run");

  // Runs the commands that start the services; reports a command that failed on standard error.
  void start_all() const;

  // Runs the commands that stop the services. Waits for the commands, not for the services.
  void stop_all() const;

  // False as soon as one of the three is found running. A pid file that cannot be read counts as a
  // running daemon and is reported on standard error.
  bool all_are_stopped() const;

  // Whether the process lister prints a line that equals `name`.
  bool tvprocs_lists_proc(const std::string& name) const;

  // The commands for an operator, each with a leading tab and a line end. They name the product's
  // default directory, except the one that stops the monitor.
  std::string get_start_services_string() const;
  std::string get_stop_services_string() const;

 private:
  class ProcessControlImpl;

  boost::shared_ptr<ProcessControlImpl> m_impl;
};

}  // namespace cr::utils
