#include "report/logs/log_files.h"

#include <algorithm>
#include <optional>
#include <tuple>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include "report/logs/scanner.h"

namespace fs = boost::filesystem;

namespace report::logs {

namespace {

struct Name {
  Kind kind;
  const char* prefix;
  const char* suffix;
};

constexpr Name k_names[] = {
    {Kind::scan, "client_names_with_case_sensitivity_issues.", ""},
    {Kind::repair, "repaired_client_names_with_case_sensitivity_issues.", ""},
    {Kind::collisions, "dedupe_client_name_repair_collisions.", ""},
    {Kind::orphans, "OrphanImages_", ".log"},
    {Kind::missing, "MissingImages_", ".log"},
    {Kind::policy_dirs, "PolicyDirs_", ".log"},
};

// Rotated run logs carry a number, the older the larger, or a date.
constexpr const char* k_run_log = "mdfixup.log";

constexpr const char* k_dirs_below[] = {"mdfixup", "metadata_consistency"};

fs::path log_dir_of(const fs::path& file) {
  const fs::path dir = file.parent_path();
  const bool is_below =
      std::count(std::begin(k_dirs_below), std::end(k_dirs_below), dir.filename().string()) != 0;
  return is_below ? dir.parent_path() : dir;
}

// A run log that was rotated by another rule than ours.
bool is_packed(const fs::path& path) {
  const std::string name = path.filename().string();
  const std::string ending = path.extension().string();
  return name.rfind(k_run_log, 0) == 0 && (ending == ".gz" || ending == ".xz" || ending == ".zst");
}

std::optional<LogFile> log_of(const fs::path& path) {
  const std::string name = path.filename().string();
  LogFile file;
  file.path = path.string();
  file.log_dir = log_dir_of(path).string();
  std::string_view rest = name;
  if (take_prefix(rest, k_run_log)) {
    const bool is_ours = rest.empty() || rest[0] == '.' || rest[0] == '-';
    if (is_ours && !is_packed(path)) return file;
    return std::nullopt;
  }
  for (const Name& known : k_names) {
    if (Scanner(name).skip(known.prefix).number(file.time).skip(known.suffix).end()) {
      file.kind = known.kind;
      return file;
    }
  }
  return std::nullopt;
}

// Sorts run logs by age, and others behind them by time.
auto order_of(const LogFile& file) {
  std::string_view rest = file.path;
  rest.remove_prefix(rest.rfind('/') + 1);
  std::int64_t number = 0;
  const bool numbered = Scanner(rest).skip(k_run_log).skip(".").number(number).end();
  const bool current = rest == k_run_log;
  return std::make_tuple(file.kind != Kind::run_log, file.time, current, numbered ? -number : 0,
                         std::cref(file.path), !file.was_named);
}

SourceFile unreadable(const fs::path& path, const std::string& why) {
  SourceFile file;
  file.path = path.string();
  file.error = why;
  return file;
}

void list(const fs::path& dir, std::vector<LogFile>& files, std::vector<SourceFile>& unread) {
  boost::system::error_code error;
  for (fs::directory_iterator entry(dir, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    if (const auto file = log_of(entry->path())) {
      files.push_back(*file);
    } else if (is_packed(entry->path())) {
      unread.push_back(unreadable(entry->path(), "is compressed; unpack it to have it read"));
    }
  }
  if (error) unread.push_back(unreadable(dir, error.message()));
}

// The same file has the same path, however it was named. Its own name is left as it is, since that
// tells what it is.
fs::path resolved(const fs::path& named) {
  boost::system::error_code error;
  const fs::path whole = fs::absolute(named);
  const fs::path path = fs::is_directory(whole, error)
                            ? fs::canonical(whole, error)
                            : fs::canonical(whole.parent_path(), error) / whole.filename();
  return error ? named : path;
}

void find_at(const fs::path& named, std::vector<LogFile>& files, std::vector<SourceFile>& unread) {
  boost::system::error_code error;
  const fs::path path = resolved(named);
  if (fs::is_directory(path, error)) {
    list(path, files, unread);
    for (const char* below : k_dirs_below) {
      if (fs::is_directory(path / below, error)) list(path / below, files, unread);
    }
  } else if (auto file = log_of(path)) {
    file->was_named = true;
    files.push_back(*file);
  } else {
    unread.push_back(unreadable(
        path, fs::exists(path, error) ? "has no name of a log of mdfixup" : "does not exist"));
  }
}

}  // namespace

std::vector<LogFile> find_logs(const std::vector<std::string>& paths,
                               std::vector<SourceFile>& unread) {
  std::vector<LogFile> files;
  for (const std::string& path : paths) find_at(path, files, unread);
  std::sort(files.begin(), files.end(),
            [](const LogFile& a, const LogFile& b) { return order_of(a) < order_of(b); });
  const auto same = [](const LogFile& a, const LogFile& b) { return a.path == b.path; };
  files.erase(std::unique(files.begin(), files.end(), same), files.end());
  return files;
}

}  // namespace report::logs
