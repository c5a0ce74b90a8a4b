#pragma once

// The whole run of the program. Returns its exit status; -1 stands for 255.
//
// Threads: the main thread, while no other runs. It sets the process's environment, signal handling
//   and run log.
// Errors: Cr_ErrnoException and other std::exception for what no operator's choice settles; the
//   lock is released then too.
int main_impl(int argc, char** argv);
