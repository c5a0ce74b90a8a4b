#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

// A file in memory that holds the input.
class MemoryFile {
 public:
  MemoryFile(const std::uint8_t* data, std::size_t size);
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }

 private:
  const int m_descriptor;
};

// What the next command that is opened as a pipe prints, and the wait status that it leaves. The
// targets' popen and pclose are this file's.
void set_command(const std::uint8_t* output, std::size_t size, int wait_status);

}  // namespace fuzz
