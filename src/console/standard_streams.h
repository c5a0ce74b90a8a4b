#pragma once

#include <string_view>

namespace console {

// Output to the standard streams, and whether any was lost: a run that could not report its work
// does not end as successful.
//
// Threads: any, except for standard_output_is_whole.

// Writes to standard output; on a terminal, in place of the status line.
void print(std::string_view text);

// Writes to standard error at once, unbuffered. False if not all was written.
bool write_standard_error(std::string_view text);

// The same, but drops a text that standard error does not accept at once.
void try_standard_error(std::string_view text);

// Writes to standard error if that is a terminal that accepts it at once.
void write_terminal(std::string_view text);

// Writes to standard error what no log accepted. If that fails too, the text is lost.
void write_or_lose(std::string_view text);

// Whether a text was lost since the process started.
bool reports_were_lost();

// Flushes standard output. True if it accepted everything, or if its reader has closed it early.
// To be called last, on the main thread.
bool standard_output_is_whole();

}  // namespace console
