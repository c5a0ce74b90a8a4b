#include "dct/descriptor_limit.h"

#include <sys/resource.h>

#include <limits>

namespace dct {

namespace {

// The shell statement before each command; empty while the limit is unchanged.
std::string s_prefix;

}  // namespace

void raise_descriptor_limit() {
  struct rlimit limit {};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= limit.rlim_max) return;
  const rlim_t first = limit.rlim_cur;
  limit.rlim_cur = limit.rlim_max;
  if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  s_prefix = "ulimit -S -n " + std::to_string(first) + "; ";
}

std::uint64_t descriptor_limit() {
  struct rlimit limit {};
  const bool is_known = ::getrlimit(RLIMIT_NOFILE, &limit) == 0;
  return is_known ? limit.rlim_cur : std::numeric_limits<std::uint64_t>::max();
}

std::string with_first_descriptor_limit(const std::string& command) {
  return s_prefix + command;
}

}  // namespace dct
