#pragma once

namespace catalog {
class BaseTraverseCatalog;
}

// Runs one task: traversal, summary on the task's own terms, and the counts in the run log. Returns
// whether all of it ran to its end.
// Errors: what the task throws.
bool run_task(catalog::BaseTraverseCatalog& task);
