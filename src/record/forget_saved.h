#pragma once

#include <string>

namespace record {

// Removes what a record saved for an undo, notes that in it, and shrinks the file. The rest of the
// record stays readable throughout, even after a kill. No other process may write to it meanwhile.
// Errors: Cr_ErrnoException, naming the file; repeat the call to finish.
void forget_saved(const std::string& file);

}  // namespace record
