#pragma once

#include <set>
#include <string>
#include <vector>

namespace catalog {

// Selects the policy directories of a run. Each name is CLIENT or CLIENT/POLICY, byte for byte.
//
// Threads: never changes.
class DirFilter {
 public:
  // Selects all.
  DirFilter() = default;
  // Selects the names in `only`, or all if it is empty, without those in `except`.
  DirFilter(const std::vector<std::string>& only, const std::vector<std::string>& except)
      : m_only(only.begin(), only.end()), m_except(except.begin(), except.end()) {}

  // Whether the text can be the name of a directory.
  static bool is_name(const std::string& text);

  bool wants(const std::string& client, const std::string& policy) const;
  bool wants_all() const { return m_only.empty() && m_except.empty(); }

 private:
  std::set<std::string> m_only;
  std::set<std::string> m_except;
};

}  // namespace catalog
