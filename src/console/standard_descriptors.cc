#include "console/standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace console {

void open_standard_descriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) != -1) continue;
    // open() takes the lowest free number, which is this one.
    if (::open("/dev/null", O_RDWR) != descriptor) {
      throw std::system_error(errno, std::generic_category(), "could not open /dev/null");
    }
  }
}

}  // namespace console
