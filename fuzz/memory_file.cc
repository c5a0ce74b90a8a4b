#include "fuzz/memory_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace fuzz {

namespace {

std::unique_ptr<MemoryFile> s_output;
int s_wait_status = 0;

}  // namespace

MemoryFile::MemoryFile(const std::uint8_t* data, std::size_t size)
    : m_descriptor(::memfd_create("input", MFD_CLOEXEC)) {
  if (::write(m_descriptor, data, size) != static_cast<ssize_t>(size)) std::abort();
}

MemoryFile::~MemoryFile() {
  (void)::close(m_descriptor);
}

void set_command(const std::uint8_t* output, std::size_t size, int wait_status) {
  s_output = std::make_unique<MemoryFile>(output, size);
  s_wait_status = wait_status;
}

}  // namespace fuzz

// The linker puts these in the place of the C library's.
extern "C" {

FILE* __wrap_popen(const char* /*command*/, const char* /*mode*/) {
  return std::fopen(fuzz::s_output->path().c_str(), "re");
}

int __wrap_pclose(FILE* stream) {
  (void)std::fclose(stream);
  return fuzz::s_wait_status;
}
}
