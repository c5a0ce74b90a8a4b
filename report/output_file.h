#pragma once

#include <string>
#include <string_view>

namespace report {

// What a file holds. Only a file that begins the same, or an empty one, is replaced: a log or database
// named by mistake is kept.
struct FileForm {
  const char* beginning;
  const char* name;
  unsigned mode;  // of a new file, less the umask
};

// Holds the same names as the logs, and has their mode.
inline constexpr FileForm k_page_form{"<!doctype html>", "page", 0640};
// Read by the node exporter, which runs as another user; holds no names.
inline constexpr FileForm k_metrics_form{"# HELP mdfixup_", "file of its metrics", 0644};

// Writes a text to `path`, completely or not at all: into a temporary file, synced and then renamed.
// - A special file, such as a pipe, is written to directly.
// - A link is replaced; its target stays.
// - A replaced file keeps its mode.
// Errors: Cr_ErrnoException, naming the path.
void write_output_file(const std::string& path, std::string_view text, const FileForm& form);

}  // namespace report
