#pragma once

#include <string_view>

// Opens the process's run log. Each later InfoA, WarningA and ErrorA appends one line with time,
// level, process and thread. A later call replaces the log.
//
// Threads: to be called before other threads log.
// Errors: Cr_ErrnoException, naming the path, if the file cannot be opened.
void dctLogSetA(const char* path);

// Logs one line, with line ends inside the text as "\n". A line that cannot be written goes to
// standard error. A warning also goes to standard error if that is a terminal. Nothing is logged
// before dctLogSetA. Threads: any.
void InfoA(std::string_view text);
void WarningA(std::string_view text);
void ErrorA(std::string_view text);

// Passes each later warning or error to `listener` too, from any thread.
using MessageListener = void (*)(bool is_warning, std::string_view text);
void listen_to_run_log(MessageListener listener);
