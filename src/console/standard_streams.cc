#include "console/standard_streams.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <iostream>

#include "console/status_line.h"
#include "files/write_all.h"

namespace console {

namespace {

std::atomic<bool> s_lost{false};

bool reader_is_gone(int descriptor) {
  struct pollfd pipe {};
  pipe.fd = descriptor;
  return ::poll(&pipe, 1, 0) == 1 && (pipe.revents & POLLERR) != 0;
}

}  // namespace

void print(std::string_view text) {
  if (!StatusLine::shares_terminal_with_output()) {
    std::cout << text;
    return;
  }
  StatusLine::erase_and_write(text, [text] { std::cout << text << std::flush; });
}

// Not through std::cerr, which writes nothing more after its first failure.
bool write_standard_error(std::string_view text) {
  std::size_t written = 0;
  const auto write = [&] { written = files::write_all(STDERR_FILENO, text); };
  if (StatusLine::is_in_use()) {
    StatusLine::erase_and_write(text, write);
  } else {
    write();
  }
  return written == text.size();
}

void try_standard_error(std::string_view text) {
  if (files::takes_output(STDERR_FILENO)) (void)write_standard_error(text);
}

// Neither a stopped terminal nor one that stops background writers (SIGTTOU) may delay the run.
void write_terminal(std::string_view text) {
  if (::isatty(STDERR_FILENO) != 1) return;
  sigset_t stops_writers;
  sigset_t before;
  (void)::sigemptyset(&stops_writers);
  (void)::sigaddset(&stops_writers, SIGTTOU);
  (void)::pthread_sigmask(SIG_BLOCK, &stops_writers, &before);
  try_standard_error(text);
  (void)::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void write_or_lose(std::string_view text) {
  if (!write_standard_error(text)) s_lost = true;
}

bool reports_were_lost() {
  return s_lost;
}

bool standard_output_is_whole() {
  std::cout.flush();
  const bool whole = std::cout.good() && std::ferror(stdout) == 0;
  return whole || reader_is_gone(STDOUT_FILENO);
}

}  // namespace console
