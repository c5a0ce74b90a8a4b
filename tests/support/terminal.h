#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "sandbox/child.h"

namespace support {

// Whether there are pseudo terminals; after a bare chroot there are none.
inline bool terminals_are_there() {
  return ::access("/dev/pts/ptmx", F_OK) == 0;
}

// A process with its own controlling terminal, which takes its standard output and error.
//
// Threads: the process that makes it has no other thread.
class OnTerminal {
 public:
  // Runs `body` in the process, which exits after it.
  explicit OnTerminal(const std::function<void()>& body, unsigned short columns = 0);
  OnTerminal(const std::vector<std::string>& command,
             const sandbox::Child::Environment& environment);
  ~OnTerminal() { ::close(m_terminal); }
  OnTerminal(const OnTerminal&) = delete;
  OnTerminal& operator=(const OnTerminal&) = delete;

  // Waits until the process has written that text, or has ended.
  void await(const std::string& text);

  // Waits for the end. Returns the exit status, or -1 after a signal.
  int wait();

  // The output so far.
  const std::string& written() const { return m_written; }

  // The output without the lines that were erased before anything else was written.
  std::string screen() const;

 private:
  bool read_more();

  int m_terminal = -1;
  pid_t m_pid = -1;
  std::string m_written;
};

}  // namespace support
