#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace sandbox {

// What a program left behind when it ended.
struct Ended {
  int exit_status = -1;  // -1 when a signal ended it
  int signal = 0;
  bool timed_out = false;  // it was killed because it did not end
  std::string out;
  std::string err;
};

// A program that runs beside this one, with its output in files that nobody else sees.
//
// Threads: one thread.
// Errors: std::system_error when it cannot be started or waited for; one that cannot be executed
//   ends with 127.
class Child {
 public:
  using Environment = std::map<std::string, std::string>;

  // Starts it with the caller's environment and `environment` on top, in a process group of its own.
  explicit Child(const std::vector<std::string>& arguments, const Environment& environment = {});
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  void send(int signal) const;

  // The same to all of its process group, as a terminal does.
  void send_to_group(int signal) const;

  // What it has written to standard error so far.
  std::string err() const;

  // Waits for its end; with `at_most_seconds`, kills it and its process group when that is over.
  Ended wait(int at_most_seconds = 0);

  pid_t pid() const { return m_pid; }

 private:
  const int m_out;
  const int m_err;
  const pid_t m_pid;
};

// Turns this process into a program with `environment` on top of its own, in a process group of its own
// unless it leads a session; ends it with 127 where that fails.
[[noreturn]] void exec(const std::vector<std::string>& arguments,
                       const Child::Environment& environment);

// Runs a program to its end.
Ended run(const std::vector<std::string>& arguments, const Child::Environment& environment = {});

}  // namespace sandbox
