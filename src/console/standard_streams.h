#pragma once

#include <string_view>

namespace console {

// What a run reports has to reach somebody: a run that did its work and could not say so must not
// end as one that went well. These are the last resorts behind logs and streams, and what notes
// that they failed.
//
// Threads: every function may be called from any thread, but for standard_output_is_whole.

// Writes to standard output, which notes what it did not take. On a terminal it takes the place of
// the status line.
void print(std::string_view text);

// Writes to standard error, at once and as one text. False when that failed, be it for a part.
bool write_standard_error(std::string_view text);

// The same, but for a text that would have to be waited for: nobody is reading.
void try_standard_error(std::string_view text);

// Writes to standard error if that is a terminal; does nothing elsewhere.
void write_terminal(std::string_view text);

// As write_standard_error for a text that no log took; one that standard error does not take either is
// lost.
void write_or_lose(std::string_view text);

// Whether a text was lost since the process started.
bool reports_were_lost();

// Writes what standard output still holds, and tells whether it took all that was printed. A reader
// that went away before the end has seen what it wanted. Called on the main thread, last.
bool standard_output_is_whole();

}  // namespace console
