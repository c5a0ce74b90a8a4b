#pragma once

#include <vector>

#include "undo/saved_run.h"

// What is printed of runs that can be undone. Names are escaped.
//
// Errors: those of RunReader.
namespace undo {

void print_list(const std::vector<SavedRun>& runs);

// The run, and what it changed by client and policy.
void print_run(const SavedRun& run);

}  // namespace undo
