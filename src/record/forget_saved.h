#pragma once

#include <string>

namespace record {

// Removes what the record of a run saved for an undo, says so in it, and gives the room back. The rest
// stays, and can be read at any time, whatever ends this.
//
// Threads: one thread; nobody else writes to the record.
// Errors: Cr_ErrnoException, naming the file; what is saved is gone or not, and doing it again finishes.
void forget_saved(const std::string& file);

}  // namespace record
