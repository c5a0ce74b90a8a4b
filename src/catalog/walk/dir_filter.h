#pragma once

#include <set>
#include <string>
#include <vector>

namespace catalog {

// Which policy directories a run works on. Each name is CLIENT or CLIENT/POLICY, byte for byte.
//
// Threads: constant once made.
class DirFilter {
 public:
  // All of them.
  DirFilter() = default;
  // Those that `only` names, or all if it is empty, without those that `except` names.
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
