#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace sandbox {

// How a program ended, and what it wrote.
struct Ended {
  int exit_status = -1;  // -1 when a signal ended it
  int signal = 0;
  bool timed_out = false;  // it was killed because it did not end
  std::string out;
  std::string err;
};

// A child process. Its output goes to files in memory.
//
// Threads: one thread.
// Errors: std::system_error when it cannot be started or waited for; a program that cannot be
//   executed ends with 127.
class Child {
 public:
  using Environment = std::map<std::string, std::string>;

  // Starts it with the caller's environment and `environment` on top, in a process group of its own.
  explicit Child(const std::vector<std::string>& arguments, const Environment& environment = {});
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  void send(int signal) const;

  // Sends it to the whole process group, as a terminal does.
  void send_to_group(int signal) const;

  // The standard error so far.
  std::string err() const;

  // Waits for its end. With `at_most_seconds`, kills its process group after that time.
  Ended wait(int at_most_seconds = 0);

  pid_t pid() const { return m_pid; }

 private:
  const int m_out;
  const int m_err;
  const pid_t m_pid;
};

// Replaces this process by a program with `environment` on top of its own. The program gets its own
// process group, unless it leads a session. Exits with 127 if that fails.
[[noreturn]] void exec(const std::vector<std::string>& arguments,
                       const Child::Environment& environment);

// Runs a program to its end.
Ended run(const std::vector<std::string>& arguments, const Child::Environment& environment = {});

}  // namespace sandbox
