#include "bench/limits/policy_dirs.h"

#include <dirent.h>

#include <memory>
#include <stdexcept>

namespace limits {

namespace {

std::vector<std::string> names_in(const std::string& dir) {
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(dir.c_str()), &::closedir);
  if (!stream) throw std::runtime_error("could not read " + dir);
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(stream.get())) {
    if (entry->d_type == DT_DIR && entry->d_name[0] != '.') names.emplace_back(entry->d_name);
  }
  return names;
}

}  // namespace

std::vector<PolicyDir> policy_dirs(const std::string& tree) {
  std::vector<PolicyDir> dirs;
  const std::string root = tree + "/2";
  for (const std::string& client : names_in(root)) {
    const std::string client_dir = root + "/" + client;
    for (const std::string& policy : names_in(client_dir)) {
      dirs.push_back({client, policy, client_dir + "/" + policy});
    }
  }
  return dirs;
}

}  // namespace limits
