#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "sandbox/child.h"

namespace support {

// Whether the machine has pseudo terminals at all, as a bare change of root has not.
bool terminals_are_there();

// A process with a terminal of its own, which controls it and takes its standard output and standard
// error.
//
// Threads: one thread, which has no others beside it when the process is made.
class OnTerminal {
 public:
  // `body` runs in the process, which ends with it.
  explicit OnTerminal(const std::function<void()>& body, unsigned short columns = 0);
  OnTerminal(const std::vector<std::string>& command,
             const sandbox::Child::Environment& environment);
  ~OnTerminal() { ::close(m_terminal); }
  OnTerminal(const OnTerminal&) = delete;
  OnTerminal& operator=(const OnTerminal&) = delete;

  // Waits until that text was written, or the process has ended.
  void await(const std::string& text);

  // Waits for the end; the exit status, or -1 when a signal was it.
  int wait();

  // What was written so far, as it came.
  const std::string& written() const { return m_written; }

  // What stands on the terminal then: without the lines that were erased before anything else was
  // written.
  std::string screen() const;

 private:
  bool read_more();

  int m_terminal = -1;
  pid_t m_pid = -1;
  std::string m_written;
};

}  // namespace support
