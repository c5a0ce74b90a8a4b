#pragma once

namespace undo {

// Runs the program and returns its exit status.
//
// Threads: the main thread, while no other runs.
// Errors: Cr_ErrnoException and other std::exception for unexpected faults; the lock is released first.
int run(int argc, char** argv);

}  // namespace undo
