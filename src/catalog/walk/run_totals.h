#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "record/counts.h"

namespace catalog {

// The counts of a whole run. A directory adds its own once it is done: workers do not compete for
// these atomics with each PO.
//
// Threads: every member may be called from any thread.
class RunTotals {
 public:
  void add_dir() { ++m_dirs; }
  void add_done_dir() { ++m_done_dirs; }
  // At the start of another walk: these directories are done already.
  void set_done_dirs(std::uint64_t dirs) { m_done_dirs = dirs; }
  void add_failed_dir() { ++m_failed_dirs; }
  void add_skipped_dir() { ++m_skipped_dirs; }  // in no other count
  void add(const record::DirCounts& counts) {
    for (std::size_t i = 0; i < m_counts.size(); ++i)
      m_counts[i] += counts.*record::k_counts[i].value;
  }

  std::uint64_t dirs() const { return m_dirs; }
  std::uint64_t done_dirs() const { return m_done_dirs; }  // without those at work
  std::uint64_t failed_dirs() const { return m_failed_dirs; }
  std::uint64_t skipped_dirs() const { return m_skipped_dirs; }
  record::DirCounts counts() const {
    record::DirCounts counts;
    for (std::size_t i = 0; i < m_counts.size(); ++i)
      counts.*record::k_counts[i].value = m_counts[i];
    return counts;
  }

 private:
  std::atomic<std::uint64_t> m_dirs{0};
  std::atomic<std::uint64_t> m_done_dirs{0};
  std::atomic<std::uint64_t> m_failed_dirs{0};
  std::atomic<std::uint64_t> m_skipped_dirs{0};
  std::array<std::atomic<std::uint64_t>, record::k_counts.size()> m_counts{};
};

}  // namespace catalog
