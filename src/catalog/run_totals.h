#pragma once

#include <atomic>
#include <cstdint>

namespace catalog {

// What was counted in one policy directory.
struct DirCounts {
  std::uint64_t pos = 0;
  std::uint64_t copies = 0;
  std::uint64_t orphan_copies = 0;
  std::uint64_t missing_copies = 0;
};

// What a task counted in a whole run. Directories add to it once they are done, so that workers do
// not meet here for each PO.
//
// Threads: every member may be called from any thread.
class RunTotals {
 public:
  void add_dir() { ++m_dirs; }
  void add_failed_dir() { ++m_failed_dirs; }
  void add(const DirCounts& counts) {
    m_pos += counts.pos;
    m_copies += counts.copies;
    m_orphan_copies += counts.orphan_copies;
    m_missing_copies += counts.missing_copies;
  }

  std::uint64_t dirs() const { return m_dirs; }
  std::uint64_t failed_dirs() const { return m_failed_dirs; }
  DirCounts counts() const { return {m_pos, m_copies, m_orphan_copies, m_missing_copies}; }

 private:
  std::atomic<std::uint64_t> m_dirs{0};
  std::atomic<std::uint64_t> m_failed_dirs{0};
  std::atomic<std::uint64_t> m_pos{0};
  std::atomic<std::uint64_t> m_copies{0};
  std::atomic<std::uint64_t> m_orphan_copies{0};
  std::atomic<std::uint64_t> m_missing_copies{0};
};

}  // namespace catalog
