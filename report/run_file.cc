#include "report/run_file.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include <boost/filesystem/operations.hpp>

#include "record/names.h"
#include "report/wording.h"

namespace fs = boost::filesystem;

namespace report {

namespace {

using record::RunReader;
using record::Severity;

// Of a run's id: "1795271135-4711".
bool is_id(std::string_view text) {
  const std::size_t dash = text.find('-');
  const auto are_digits = [](std::string_view part) {
    return !part.empty() && part.find_first_not_of("0123456789") == std::string_view::npos;
  };
  return dash != std::string_view::npos && are_digits(text.substr(0, dash)) &&
         are_digits(text.substr(dash + 1));
}

std::uint64_t size_of(const std::string& file) {
  boost::system::error_code error;
  const std::uint64_t size = fs::file_size(file, error);
  return error ? 0 : size;
}

RunFile read(const std::string& file) {
  constexpr std::size_t k_most_messages = 10;
  RunFile result;
  result.file = file;
  result.id = fs::path(file).stem().string();
  result.dir = fs::path(file).parent_path().string();
  result.bytes = size_of(file) + size_of(file + "-wal");
  RunReader reader(file);
  result.run = reader.run();
  const std::string errors = messages(Severity::error);
  const std::string warnings = messages(Severity::warning);
  result.errors = reader.count(errors);
  result.warnings = reader.count(warnings);
  const auto keep = [&](const RunReader::Row& row) { result.messages.push_back(row.text(0)); };
  reader.rows("SELECT text FROM " + errors, keep, k_most_messages);
  reader.rows("SELECT text FROM " + warnings, keep, k_most_messages);
  reader.rows(
      "SELECT text FROM " + warnings,
      [&](const RunReader::Row& row) { result.first_warning = row.text(0); }, 1);
  result.was_refused = result.has_end() && result.run.end.exit_status != 0 &&
                       result.run.dirs + result.run.failed_dirs == 0 &&
                       reader.count("directory") == 0;
  return result;
}

// Where the words lead, before anything is read.
class Search {
 public:
  Search(const Texts& words, const std::function<std::string()>& configured) {
    for (const std::string& word : words) take(word);
    if (words.empty() || (m_dirs.empty() && !m_ids.empty())) add_dir(configured());
    m_dirs.insert(m_beside.begin(), m_beside.end());
  }

  // Files, and whether each was named.
  std::map<std::string, bool> files(std::vector<Fault>& faults) {
    std::map<std::string, bool> found;
    for (const std::string& dir : m_dirs) list(dir, found, faults);
    for (const std::string& id : m_ids) {
      if (m_found.count(id) == 0) faults.push_back({id, "is no file, and no run has this id"});
    }
    for (const std::string& file : m_files) found[file] = true;
    return found;
  }

 private:
  void take(const std::string& word) {
    boost::system::error_code error;
    if (fs::is_directory(word, error)) return add_dir(word);
    if (is_id(word) && !fs::exists(word, error)) {
      m_ids.insert(word);
      return;
    }
    const fs::path whole = fs::absolute(word);
    const fs::path parent = fs::canonical(whole.parent_path(), error);
    m_files.insert(((error ? whole.parent_path() : parent) / whole.filename()).string());
    if (!error) m_beside.insert(parent.string());
  }

  void add_dir(const fs::path& dir) {
    boost::system::error_code error;
    fs::path runs = dir;
    for (const char* below : {"mdfixup/runs", "runs"}) {
      if (!fs::is_directory(dir / below, error)) continue;
      runs = dir / below;
      break;
    }
    const fs::path path = fs::canonical(runs, error);
    m_dirs.insert((error ? runs : path).string());
  }

  void list(const std::string& dir, std::map<std::string, bool>& found,
            std::vector<Fault>& faults) {
    boost::system::error_code error;
    for (fs::directory_iterator entry(dir, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
      const fs::path& path = entry->path();
      const std::string id = path.stem().string();
      if (path.extension() != ".db" || !is_id(id)) continue;
      const bool was_named = m_ids.count(id) != 0;
      if (was_named) m_found.insert(id);
      found[path.string()] = was_named;
    }
    if (error) faults.push_back({dir, error.message()});
  }

  std::set<std::string> m_dirs;
  std::set<std::string> m_beside;  // directories of files
  std::set<std::string> m_files;
  std::set<std::string> m_ids;
  std::set<std::string> m_found;  // of these
};

}  // namespace

bool is_listed(const record::Count& count) {
  using record::DirCounts;
  return count.value != &DirCounts::pos && count.value != &DirCounts::copies &&
         count.value != &DirCounts::future_copies;
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

std::string title_of(const RunFile& file) {
  std::string task = name_of(file.run.task);
  task[0] = static_cast<char>(std::toupper(task[0]));
  return task + " of " + local_time(start_of(file.run));
}

std::string outcome_of(const RunFile& file) {
  const record::Run& run = file.run;
  if (file.was_refused && !file.messages.empty()) return file.messages.front();
  std::string text = counted(run.dirs, "directory", "directories");
  if (run.failed_dirs != 0) text += ", " + with_commas(run.failed_dirs) + " failed";
  for (const record::Count& count : record::k_counts) {
    const std::uint64_t value = run.counts.*count.value;
    if (value != 0 && is_listed(count)) text += ", " + counted(value, count.one, count.many);
  }
  return text;
}

std::string messages(Severity severity) {
  return "message WHERE severity = '" + name_of(record::k_severity_names, severity) +
         "' ORDER BY text LIKE '/%' OR text LIKE '% in /%', id";
}

std::int64_t start_of(const record::Run& run) {
  return run.start_nanoseconds / k_second_nanoseconds;
}

Fault fault_of(const std::string& file, const std::exception& error) {
  std::string text = error.what();
  const std::size_t at = text.find(file + ": ");
  if (at != std::string::npos) text.erase(0, at + file.size() + 2);
  return {file, "could not be read: " + text};
}

std::vector<RunFile> find_runs(const Texts& words, const std::function<std::string()>& configured,
                               std::vector<Fault>& faults) {
  std::vector<RunFile> runs;
  for (const auto& [file, was_named] : Search(words, configured).files(faults)) {
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
  return runs;
}

}  // namespace report
