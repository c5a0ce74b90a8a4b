#include "tests/support/scene.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>

namespace fs = boost::filesystem;

namespace scenario {

using boost::algorithm::starts_with;

void Scene::put(const std::string& client, const std::string& policy,
                const Words& basenames) const {
  sandbox::PolicyDirWriter dir(policy_dir(client, policy), 16, 1);
  for (const std::string& basename : basenames) dir.put(basename);
  dir.finish();
}

std::string Scene::sql(const std::string& client, const std::string& policy,
                       const std::string& statements) const {
  return sqlite(po_db(client, policy), statements);
}

void Scene::sh(const std::string& script) const {
  sandbox::run({"sh", "-c", "cd " + root().string() + "; " + script});
}

Ended Scene::run_in_shell(const std::string& script, const Words& arguments) const {
  const Words shell{"sh", "-c", "cd " + root().string() + "; " + script, "sh"};
  return sandbox::run(joined(shell, command(arguments)), environment());
}

Ended Scene::undo(const Words& arguments) const {
  const Words location{"--tvr_location", product().string()};
  return sandbox::run(joined(joined({MDFIXUP_UNDO_PROGRAM}, arguments), location), environment());
}

Ended Scene::run_task(const Words& task, int threads, const Words& more) const {
  return run(joined(joined({"--num_threads", std::to_string(threads)}, task), more));
}

std::string Scene::logs(const std::string& prefix) const {
  std::string text;
  for (const auto& entry : fs::recursive_directory_iterator(log_dir())) {
    if (starts_with(entry.path().filename().string(), prefix)) text += read_text(entry.path());
  }
  return text;
}

std::map<std::string, std::string> Scene::snapshot() const {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(root())) {
    if (starts_with(entry.path().string(), log_dir().string())) continue;
    const bool is_file = fs::is_regular_file(entry.symlink_status());
    files[entry.path().string()] = is_file ? read_text(entry.path()) : "";
  }
  return files;
}

Words lines_beginning(const std::string& text, const std::string& prefix) {
  std::istringstream stream(text);
  Words lines;
  for (std::string line; std::getline(stream, line);) {
    if (starts_with(line, prefix)) lines.push_back(line + "\n");
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

std::string sqlite(const fs::path& file, const std::string& statements) {
  const Ended ended = sandbox::run({"sqlite3", file.string(), statements});
  if (ended.exit_status != 0) throw std::runtime_error("sqlite3: " + ended.err);
  return ended.out;
}

}  // namespace scenario
