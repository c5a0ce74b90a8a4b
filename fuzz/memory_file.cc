#include "fuzz/memory_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace fuzz {

namespace {

std::string s_output;
int s_wait_status = 0;

}  // namespace

std::string memory_file(const std::string& text) {
  static const int descriptor = ::memfd_create("input", MFD_CLOEXEC);
  const bool written =
      ::ftruncate(descriptor, 0) == 0 &&
      ::pwrite(descriptor, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
  if (!written) std::abort();
  return "/proc/self/fd/" + std::to_string(descriptor);
}

void set_command(const std::string& output, int wait_status) {
  s_output = output;
  s_wait_status = wait_status;
}

}  // namespace fuzz

// The linker replaces those of the C library by these.
extern "C" {

FILE* __wrap_popen(const char* /*command*/, const char* /*mode*/) {
  return std::fopen(fuzz::memory_file(fuzz::s_output).c_str(), "re");
}

int __wrap_pclose(FILE* stream) {
  (void)std::fclose(stream);
  return fuzz::s_wait_status;
}
}
