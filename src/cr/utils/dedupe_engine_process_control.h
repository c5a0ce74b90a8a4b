#pragma once

#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>

namespace cr::utils {

// The services that use the metadata: the backup product's service monitor and the two daemons of
// the deduplication engine.
//
// Threads: one thread.
// Errors: all_are_stopped and tvprocs_lists_proc throw Cr_ErrnoException when the process lister's
//   output cannot be read.
class DedupeEngineProcessControl {
 public:
  // `base_dir` is the backup product's; it and what is below it is run as it stands, unquoted. The
  // daemons' pid files lie in `pid_dir`.
  explicit DedupeEngineProcessControl(const boost::filesystem::path& base_dir,
                                      const boost::filesystem::path& pid_dir = "/var/run");

  // Runs the commands that start the services. How they ended is not looked at.
  void start_all() const;

  // Runs the commands that stop the services, and waits for the commands, not for the services.
  void stop_all() const;

  // False as soon as one of the three is found running. A pid file that cannot be read counts as a
  // running daemon, and standard error is told of it.
  bool all_are_stopped() const;

  // Whether the process lister prints a line that is `name` and nothing else.
  bool tvprocs_lists_proc(const std::string& name) const;

  // The commands for an operator to type, each with a tab in front and a line end. They name the
  // product's usual directory, but for that which stops the monitor.
  std::string get_start_services_string() const;
  std::string get_stop_services_string() const;

 private:
  class ProcessControlImpl;

  boost::shared_ptr<ProcessControlImpl> m_impl;
};

}  // namespace cr::utils
