#include "tests/support/terminal.h"

#include <pty.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <regex>
#include <stdexcept>

namespace support {

OnTerminal::OnTerminal(const std::function<void()>& body, unsigned short columns) {
  struct winsize size {};
  size.ws_col = columns;
  (void)std::fflush(nullptr);  // or the child would write it again
  m_pid = ::forkpty(&m_terminal, nullptr, nullptr, &size);
  if (m_pid < 0) throw std::runtime_error("no terminal");
  if (m_pid != 0) return;
  ::setenv("TERM", "xterm", 1);
  body();
  (void)std::fflush(nullptr);
  ::_exit(0);
}

OnTerminal::OnTerminal(const std::vector<std::string>& command,
                       const sandbox::Child::Environment& environment)
    : OnTerminal([&] { sandbox::exec(command, environment); }, 200) {}

// A terminal that no process has open any more fails with EIO.
bool OnTerminal::read_more() {
  std::array<char, 4096> buffer{};
  const ssize_t n = ::read(m_terminal, buffer.data(), buffer.size());
  if (n > 0) m_written.append(buffer.data(), static_cast<std::size_t>(n));
  return n > 0;
}

void OnTerminal::await(const std::string& text) {
  while (m_written.find(text) == std::string::npos && read_more()) {
  }
}

int OnTerminal::wait() {
  while (read_more()) {
  }
  int status = 0;
  if (::waitpid(m_pid, &status, 0) != m_pid) throw std::runtime_error("no process to wait for");
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string OnTerminal::screen() const {
  static const std::regex gone("(\r[^\r\n\033]*\033\\[K)*\r\033\\[K|\r(?=\n)");
  return std::regex_replace(m_written, gone, "");
}

}  // namespace support
