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
  std::uint64_t taken_pos = 0;         // by the deletion; in a dry run, those that it would take
  std::uint64_t other_copies_pos = 0;  // of these, the ones of another copy than the one named
  std::uint64_t moved_pos = 0;
  std::uint64_t collisions = 0;
  std::uint64_t future_copies = 0;  // newer than the host's clock by more than a day
};

// What a task counted in a whole run. Directories add to it once they are done, so that workers do
// not meet here for each PO.
//
// Threads: every member may be called from any thread.
class RunTotals {
 public:
  void add_dir() { ++m_dirs; }
  void add_done_dir() { ++m_done_dirs; }
  void add_failed_dir() { ++m_failed_dirs; }
  void add(const DirCounts& counts) {
    m_pos += counts.pos;
    m_copies += counts.copies;
    m_orphan_copies += counts.orphan_copies;
    m_missing_copies += counts.missing_copies;
    m_taken_pos += counts.taken_pos;
    m_other_copies_pos += counts.other_copies_pos;
    m_moved_pos += counts.moved_pos;
    m_collisions += counts.collisions;
    m_future_copies += counts.future_copies;
  }

  std::uint64_t dirs() const { return m_dirs; }
  std::uint64_t done_dirs() const { return m_done_dirs; }  // those in hand left out
  std::uint64_t failed_dirs() const { return m_failed_dirs; }
  DirCounts counts() const {
    return {m_pos,          m_copies,           m_orphan_copies, m_missing_copies,
            m_taken_pos,    m_other_copies_pos, m_moved_pos,     m_collisions,
            m_future_copies};
  }

 private:
  std::atomic<std::uint64_t> m_dirs{0};
  std::atomic<std::uint64_t> m_done_dirs{0};
  std::atomic<std::uint64_t> m_failed_dirs{0};
  std::atomic<std::uint64_t> m_pos{0};
  std::atomic<std::uint64_t> m_copies{0};
  std::atomic<std::uint64_t> m_orphan_copies{0};
  std::atomic<std::uint64_t> m_missing_copies{0};
  std::atomic<std::uint64_t> m_taken_pos{0};
  std::atomic<std::uint64_t> m_other_copies_pos{0};
  std::atomic<std::uint64_t> m_moved_pos{0};
  std::atomic<std::uint64_t> m_collisions{0};
  std::atomic<std::uint64_t> m_future_copies{0};
};

// Adds what is counted in a directory when it goes out of scope: something was done in a directory
// that failed half-way, too.
class CountsAdder {
 public:
  CountsAdder(RunTotals& totals, const DirCounts& counts) : m_totals(totals), m_counts(counts) {}
  ~CountsAdder() { m_totals.add(m_counts); }
  CountsAdder(const CountsAdder&) = delete;
  CountsAdder& operator=(const CountsAdder&) = delete;

 private:
  RunTotals& m_totals;
  const DirCounts& m_counts;
};

}  // namespace catalog
