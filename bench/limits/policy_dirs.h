#pragma once

#include <string>
#include <vector>

namespace limits {

// Names of one policy directory and where it lies.
struct PolicyDir {
  std::string client;
  std::string policy;
  std::string path;
};

// The policy directories below `catalog`, in the order in which the file system lists them.
// Errors: std::runtime_error, naming the directory.
std::vector<PolicyDir> policy_dirs(const std::string& catalog);

}  // namespace limits
