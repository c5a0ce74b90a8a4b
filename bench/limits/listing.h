#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace limits {

// Iterates over the images that the product's query prints. Owns the child's stream.
// Errors: std::runtime_error for a query that fails or a line with too few fields.
class Listing {
 public:
  Listing(const std::string& command, std::string disk_pool);
  ~Listing();
  Listing(const Listing&) = delete;
  Listing& operator=(const Listing&) = delete;

  // Moves to the next image; false at the end.
  bool next();

  std::string_view client() const { return m_client; }
  std::string_view policy() const { return m_policy; }
  std::int64_t time() const { return m_time; }

  // The copies with a fragment in the disk pool, each once.
  const std::vector<std::uint32_t>& copies() const { return m_copies; }

 private:
  bool read_line();
  void take_fragment();
  void close();

  std::FILE* m_stream;
  const std::string m_disk_pool;
  char* m_buffer = nullptr;
  std::size_t m_capacity = 0;
  std::string_view m_line;
  std::string m_client;
  std::string m_policy;
  std::int64_t m_time = 0;
  std::vector<std::uint32_t> m_copies;
};

}  // namespace limits
