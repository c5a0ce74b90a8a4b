#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

#include <boost/filesystem/path.hpp>

#include "catalog/walk/dirs_iterator.h"

namespace catalog {

// Counts the policy directories of a metadata tree with the walk that yields them, without log
// lines. Reads nothing before the first call.
//
// Threads: one thread.
// Errors: none; a tree that cannot be walked is never counted.
class DirsCounter {
 public:
  using Wanted = std::function<bool(const boost::filesystem::path&)>;

  DirsCounter(const boost::filesystem::path& root, Wanted wanted)
      : m_root(root), m_wanted(std::move(wanted)) {}

  // Continues the walk to its end, or until `enough`, called at each directory, returns true.
  void count_until(const std::function<bool()>& enough);

  // Their number, once it is known.
  std::optional<std::uint64_t> total() const { return m_total; }

 private:
  const boost::filesystem::path m_root;
  const Wanted m_wanted;
  std::optional<DirsIterator> m_walk;  // none before the first call
  std::uint64_t m_count = 0;
  std::optional<std::uint64_t> m_total;
  bool m_has_failed = false;
};

}  // namespace catalog
