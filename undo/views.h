#pragma once

#include <vector>

#include "undo/saved_run.h"

// Prints runs that can be undone, with names escaped.
// Errors: those of RunReader.
namespace undo {

void print_list(const std::vector<SavedRun>& runs);

// The run with its changes by client and policy.
void print_run(const SavedRun& run);

}  // namespace undo
