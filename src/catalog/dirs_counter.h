#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include <boost/filesystem/path.hpp>

#include "catalog/dirs_iterator.h"

namespace catalog {

// Counts the policy directories of a catalog by the walk that hands them out, without a word to any
// log. Touches the catalog when it is asked to count, and not before.
//
// Threads: one thread.
// Errors: none; a catalog that cannot be walked is never counted.
class DirsCounter {
 public:
  explicit DirsCounter(const boost::filesystem::path& root) : m_root(root) {}

  // Goes on with the walk, until its end or until `enough`, which is asked at each directory.
  void count_until(const std::function<bool()>& enough);

  // How many there are; nothing as long as that is not known.
  std::optional<std::uint64_t> total() const;

 private:
  enum class State { not_begun, counting, counted, failed };

  void count(const std::function<bool()>& enough);

  const boost::filesystem::path m_root;
  DirsIterator m_walk;
  std::uint64_t m_count = 0;
  State m_state = State::not_begun;
};

}  // namespace catalog
