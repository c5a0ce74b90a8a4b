#include "platform/reports.h"

#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <iostream>

#include "platform/write_all.h"

namespace platform {

namespace {

std::atomic<bool> s_lost{false};

bool reader_is_gone(int descriptor) {
  struct pollfd pipe {};
  pipe.fd = descriptor;
  return ::poll(&pipe, 1, 0) == 1 && (pipe.revents & POLLERR) != 0;
}

}  // namespace

// Not through std::cerr, which drops everything behind the first text that it could not write.
bool tell_standard_error(std::string_view text) {
  return write_all(STDERR_FILENO, text) == text.size();
}

void tell_or_lose(std::string_view text) {
  if (!tell_standard_error(text)) s_lost = true;
}

bool reports_were_lost() {
  return s_lost;
}

bool standard_output_is_whole() {
  std::cout.flush();
  const bool whole = std::cout.good() && std::ferror(stdout) == 0;
  return whole || reader_is_gone(STDOUT_FILENO);
}

}  // namespace platform
