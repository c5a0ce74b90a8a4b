#pragma once

#include <string>
#include <vector>

namespace limits {

// The names of one policy directory, and its path.
struct PolicyDir {
  std::string client;
  std::string policy;
  std::string path;
};

// The policy directories of a metadata tree, in the order of the file system.
// Errors: std::runtime_error, naming the directory.
std::vector<PolicyDir> policy_dirs(const std::string& tree);

}  // namespace limits
