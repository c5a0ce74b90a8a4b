#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "report/run_file.h"

namespace undo {

// A run with what its record has for an undo.
struct SavedRun {
  report::RunFile file;
  std::uint64_t pos = 0;    // that were saved
  std::uint64_t moves = 0;  // of POs
  std::uint64_t links = 0;

  bool has_something() const { return pos + moves + links != 0; }
  bool can_be_undone() const { return file.run.undo == record::Undo::saved && has_something(); }
};

// The runs in the log directory of the configuration that can be undone, newest first. What cannot be
// read is reported on standard error, and `is_whole` is false then.
// Errors: those of the configuration.
std::vector<SavedRun> list_saved_runs(bool& is_whole);

// The run of an id or of a record's path; nothing, after a message on standard error, if there is none.
// Errors: as list_saved_runs.
std::optional<SavedRun> find_saved_run(const std::string& word);

// Why a run cannot be undone.
std::string why_not(const SavedRun& run);

// The root of the configured storage. Errors: those of the configuration.
std::string configured_root();

}  // namespace undo
