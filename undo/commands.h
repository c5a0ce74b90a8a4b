#pragma once

namespace undo {

// The whole run of the program. Returns its exit status.
//
// Threads: the main thread, while no other runs.
// Errors: Cr_ErrnoException and other std::exception for what no operator's choice settles; the lock is
//   released then too.
int run(int argc, char** argv);

}  // namespace undo
