#pragma once

namespace catalog {
class BaseTraverseCatalog;
}

enum class Summary { always, after_success };

// Runs one task: traversal, the summary on the task's own terms, and the counts in the run log.
// Returns whether the traversal and, where it is always made, the summary ran to their end.
// Errors: what the task throws.
bool run_task(catalog::BaseTraverseCatalog& task, Summary summary = Summary::always);
