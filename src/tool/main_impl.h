#pragma once

// The program's run: sets up the process and runs one task. Returns the exit status; -1 is 255.
//
// Threads: the main thread, while no other runs.
// Errors: Cr_ErrnoException or another std::exception; the lock is released.
int main_impl(int argc, char** argv);
