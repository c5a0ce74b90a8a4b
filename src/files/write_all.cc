#include "files/write_all.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace files {

std::size_t write_all(int descriptor, std::string_view text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t n = ::write(descriptor, text.data() + written, text.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    written += static_cast<std::size_t>(n);
  }
  return written;
}

bool takes_output(int descriptor) {
  struct pollfd output {};
  output.fd = descriptor;
  output.events = POLLOUT;
  return ::poll(&output, 1, 0) == 1 && (output.revents & POLLOUT) != 0;
}

}  // namespace files
