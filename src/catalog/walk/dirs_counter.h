#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

#include <boost/filesystem/path.hpp>

#include "catalog/walk/dirs_iterator.h"

namespace catalog {

// Counts the policy directories of a catalog by the walk that hands them out, without a word to any
// log. Touches the catalog when it is asked to count, and not before.
//
// Threads: one thread.
// Errors: none; a catalog that cannot be walked is never counted.
class DirsCounter {
 public:
  using Wanted = std::function<bool(const boost::filesystem::path&)>;

  // Counts those that are wanted.
  DirsCounter(const boost::filesystem::path& root, Wanted wanted)
      : m_root(root), m_wanted(std::move(wanted)) {}

  // Goes on with the walk, until its end or until `enough`, which is asked at each directory.
  void count_until(const std::function<bool()>& enough);

  // How many there are; nothing as long as that is not known.
  std::optional<std::uint64_t> total() const { return m_total; }

 private:
  const boost::filesystem::path m_root;
  const Wanted m_wanted;
  std::optional<DirsIterator> m_walk;  // none before it was begun
  std::uint64_t m_count = 0;
  std::optional<std::uint64_t> m_total;
  bool m_has_failed = false;
};

}  // namespace catalog
