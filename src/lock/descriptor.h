#pragma once

#include <unistd.h>

namespace util {

// Owns a file descriptor, or none (below 0).
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
  ~Descriptor() {
    if (m_descriptor >= 0) (void)::close(m_descriptor);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return m_descriptor; }

 private:
  const int m_descriptor;
};

}  // namespace util
