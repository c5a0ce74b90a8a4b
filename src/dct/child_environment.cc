#include "dct/child_environment.h"

#include <stdlib.h>

#include <cerrno>
#include <system_error>

namespace dct {

void fix_child_environment() {
  constexpr int k_replace = 1;
  if (::setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", k_replace) != 0 ||
      ::setenv("LC_ALL", "C", k_replace) != 0) {
    throw std::system_error(errno, std::generic_category(), "could not set the environment");
  }
}

}  // namespace dct
