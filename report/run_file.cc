#include "report/run_file.h"

#include <algorithm>
#include <map>
#include <set>
#include <stdexcept>
#include <tuple>

#include <boost/filesystem/operations.hpp>

#include "cr/config.h"
#include "files/storage_layout.h"
#include "record/names.h"
#include "report/wording.h"

namespace fs = boost::filesystem;

namespace report {

namespace {

using record::RunReader;
using record::Severity;

// Whether the text has the form of a run's id: "1795271135-4711".
bool is_id(std::string_view text) {
  constexpr std::string_view k_digits = "0123456789";
  const std::size_t dash = text.find_first_not_of(k_digits);
  return dash != 0 && dash < text.size() - 1 && text[dash] == '-' &&
         text.find_first_not_of(k_digits, dash + 1) == std::string_view::npos;
}

std::uint64_t size_of(const std::string& file) {
  boost::system::error_code error;
  const std::uint64_t size = fs::file_size(file, error);
  return error ? 0 : size;
}

RunFile read(const std::string& file) {
  RunFile result;
  result.file = file;
  result.id = fs::path(file).stem().string();
  result.dir = fs::path(file).parent_path().string();
  result.bytes = size_of(file) + size_of(file + "-wal");
  RunReader reader(file);
  result.run = reader.run();
  const auto keep = [&](const RunReader::Row& row) { result.messages.push_back(row.text(0)); };
  for (const auto& [severity, count] : {std::pair(Severity::error, &result.errors),
                                        std::pair(Severity::warning, &result.warnings)}) {
    *count = reader.count(messages(severity));
    reader.rows("SELECT text FROM " + messages(severity), keep, k_max_messages);
  }
  result.was_refused = result.has_end() && result.run.end.exit_status != 0 &&
                       result.run.dirs + result.run.failed_dirs == 0 &&
                       reader.count("directory") == 0;
  return result;
}

// The folder of records of a log directory or of its `mdfixup` directory, or `dir` itself.
std::string runs_dir(const fs::path& dir) {
  boost::system::error_code error;
  fs::path runs = dir;
  for (const char* below : {"runs", layout::k_records}) {
    if (fs::is_directory(dir / below, error)) runs = dir / below;
  }
  const fs::path path = fs::canonical(runs, error);
  return (error ? runs : path).string();
}

cr::Config config() {
  return cr::Config::init_from_ksregistry(cr::registry_file(), cr::k_registry_key);
}

std::string configured_log_dir() {
  std::string dir = cr::get_log_dir(config()).string();
  if (dir.empty()) throw std::runtime_error("name a log directory, or records");
  return dir;
}

using Files = std::map<std::string, bool>;  // path -> was named

// Adds the records in a directory, and marks the ids that it finds.
void list(const std::string& dir, std::map<std::string, bool>& ids, Files& files,
          std::vector<Fault>& faults) {
  boost::system::error_code error;
  for (fs::directory_iterator entry(dir, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    const fs::path& path = entry->path();
    const std::string id = path.stem().string();
    if (path.extension() != ".db" || !is_id(id)) continue;
    const auto named = ids.find(id);
    if (named != ids.end()) named->second = true;
    files.emplace(path.string(), named != ids.end());
  }
  if (error) faults.push_back({dir, error.message()});
}

bool undoes(const RunFile& restore, const RunFile& file) {
  return restore.is_restore() && restore.changes_storage() && !restore.was_refused &&
         restore.dir == file.dir && restore.run.of_run == file.id;
}

bool restores_all(const RunFile& restore) {
  return restore.ended_well() && !option(restore, "--client") && !option(restore, "--policy");
}

// Requires the newest run first.
void note_restores(std::vector<RunFile>& runs) {
  for (auto file = runs.begin(); file != runs.end(); ++file) {
    for (auto restore = file; restore != runs.begin();) {
      if (!undoes(*--restore, *file)) continue;
      const bool is_known = file->undone_by && file->undone_by->is_complete;
      if (!is_known) file->undone_by = UndoneBy{restore->id, restores_all(*restore)};
    }
  }
}

// Resolves the words to files, without reading these.
Files files_of(const Texts& words, std::vector<Fault>& faults) {
  Files named;
  std::map<std::string, bool> ids;  // id -> was found
  std::set<std::string> dirs;
  std::set<std::string> dirs_of_files;
  for (const std::string& word : words) {
    boost::system::error_code error;
    if (fs::is_directory(word, error)) {
      dirs.insert(runs_dir(word));
    } else if (is_id(word) && !fs::exists(word, error)) {
      ids[word] = false;
    } else {
      const fs::path file = fs::absolute(word);
      const fs::path parent = fs::canonical(file.parent_path(), error);
      if (!error) dirs_of_files.insert(parent.string());
      named[((error ? file.parent_path() : parent) / file.filename()).string()] = true;
    }
  }
  if (words.empty() || (dirs.empty() && !ids.empty())) dirs.insert(runs_dir(configured_log_dir()));
  dirs.merge(dirs_of_files);
  for (const std::string& dir : dirs) list(dir, ids, named, faults);
  for (const auto& [id, was_found] : ids) {
    if (!was_found) faults.push_back({id, "is no file, and no run has this id"});
  }
  return named;
}

}  // namespace

std::string configured_root() {
  boost::filesystem::path root;
  config().get(cr::k_storage_section, cr::k_root_dir_entry, root);
  return root.string();
}

bool RunFile::is_restore_dry_run() const {
  return is_restore() && option(*this, "--dry_run");
}

bool RunFile::changes_storage() const {
  return run.task == record::Task::repair || is_deletion() ||
         (is_restore() && !is_restore_dry_run());
}

std::optional<std::string> option(const RunFile& file, const std::string& name) {
  const Texts& arguments = file.run.arguments;
  std::optional<std::string> value;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == name) value = i + 1 < arguments.size() ? arguments[i + 1] : "";
    if (arguments[i].rfind(name + "=", 0) == 0) value = arguments[i].substr(name.size() + 1);
  }
  return value;
}

bool is_listed(const record::Count& count) {
  using record::DirCounts;
  return count.value != &DirCounts::pos && count.value != &DirCounts::copies &&
         count.value != &DirCounts::future_copies && !is_run_total(count);
}

bool is_run_total(const record::Count& count) {
  using record::DirCounts;
  return count.value == &DirCounts::unapproved_copies || count.value == &DirCounts::absent_copies ||
         count.value == &DirCounts::restored_pos;
}

std::string ending_of(const RunFile& file) {
  const record::RunEnd& end = file.run.end;
  if (!file.has_end()) {
    return "no end recorded: killed, still running, or its record could not be written";
  }
  std::string text = "ended well";
  if (end.exit_status != 0) {
    text = (file.was_refused ? "refused or aborted" : "failed") + std::string(" (exit status ") +
           std::to_string(end.exit_status) + ")";
  }
  if (end.ending == record::Ending::signal) text += ", stopped by a signal";
  return text + (end.text.empty() ? "" : ": " + end.text);
}

std::string task_of(const RunFile& file) {
  return name_of(file.run.task) + (file.is_restore_dry_run() ? " (dry run)" : "");
}

std::string title_of(const RunFile& file) {
  std::string task = task_of(file);
  task[0] = static_cast<char>(std::toupper(task[0]));
  return task + " of " + local_time(file.start());
}

std::string outcome_of(const RunFile& file) {
  const record::Run& run = file.run;
  if (file.was_refused && !file.messages.empty()) return file.messages.front();
  std::string text = counted(run.dirs, "directory", "directories");
  if (run.failed_dirs != 0) text += ", " + with_commas(run.failed_dirs) + " failed";
  for (const record::Count& count : record::k_counts) {
    const std::uint64_t value = run.counts.*count.value;
    const bool is_found = is_listed(count) || is_run_total(count);
    if (value != 0 && is_found) text += ", " + counted(value, count.one, count.many);
  }
  return text;
}

std::string messages(Severity severity) {
  return "message WHERE severity = '" + name_of(record::k_severity_names, severity) +
         "' ORDER BY text LIKE '/%' OR text LIKE '% in /%', id";
}

Fault fault_of(const std::string& file, const std::exception& error) {
  std::string text = error.what();
  const std::size_t at = text.find(file + ": ");
  if (at != std::string::npos) text.erase(0, at + file.size() + 2);
  return {file, "could not be read: " + text};
}

std::vector<RunFile> find_runs(const Texts& words, std::vector<Fault>& faults) {
  std::vector<RunFile> runs;
  for (const auto& [file, was_named] : files_of(words, faults)) {
    try {
      runs.push_back(read(file));
      runs.back().was_named = was_named;
    } catch (const std::exception& error) {
      faults.push_back(fault_of(file, error));
    }
  }
  std::sort(runs.begin(), runs.end(), [](const RunFile& a, const RunFile& b) {
    return std::tie(a.run.start_nanoseconds, a.file) > std::tie(b.run.start_nanoseconds, b.file);
  });
  note_restores(runs);
  return runs;
}

}  // namespace report
