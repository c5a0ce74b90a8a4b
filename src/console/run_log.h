#pragma once

#include <string_view>

// Sets up the process's run log: each later InfoA, WarningA and ErrorA appends one line with time,
// level, process and thread. A later call replaces the log.
//
// Threads: call it before other threads log.
// Errors: Cr_ErrnoException, naming the path, when the file cannot be opened.
void dctLogSetA(const char* path, const char* program_name);

// One line in the run log; line ends inside the text are written as "\n". A line that cannot be
// written goes to standard error. A warning is also shown on standard error if that is a terminal.
// Nothing happens before dctLogSetA.
// Threads: may be called from any thread.
void InfoA(std::string_view text);
void WarningA(std::string_view text);
void ErrorA(std::string_view text);

// Hands each later warning (or else error) of the run log on as well; from any thread.
using MessageListener = void (*)(bool is_warning, std::string_view text);
void listen_to_run_log(MessageListener listener);
