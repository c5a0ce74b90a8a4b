#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "report/run_file.h"

namespace undo {

// A run with the counts of what its record saved for an undo.
struct SavedRun {
  report::RunFile file;
  std::uint64_t pos = 0;
  std::uint64_t moves = 0;  // of POs
  std::uint64_t links = 0;

  bool has_something() const { return pos + moves + links != 0; }
  bool can_be_undone() const { return file.run.undo == record::Undo::saved && has_something(); }
};

// The runs of the configured storage that can be undone, newest first. A record that cannot be read is
// reported on standard error and sets `is_complete` to false.
// Errors: those of the configuration.
std::vector<SavedRun> list_saved_runs(bool& is_complete);

// The run with this id or record path; none, after a message on standard error, if it is not found.
// Errors: as list_saved_runs.
std::optional<SavedRun> find_saved_run(const std::string& word);

// Why a run cannot be undone.
std::string why_not(const SavedRun& run);

}  // namespace undo
