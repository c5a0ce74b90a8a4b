#include "record/this_host.h"

#include <sys/utsname.h>

namespace record {

std::string this_host() {
  struct utsname host {};
  (void)::uname(&host);  // fails only for a bad address
  return host.nodename;
}

}  // namespace record
