#pragma once

namespace catalog {
class BaseTraverseCatalog;
}

enum class Summary { always, after_success };

// Runs one task: its traversal, its summary, and the counts in the run log. Returns whether the traversal
// succeeded; with Summary::always, also false if a signal interrupted the summary.
// Errors: those of the task.
bool run_task(catalog::BaseTraverseCatalog& task, Summary summary = Summary::always);
