#pragma once

#include <functional>

// Runs a program's work, which returns its exit status, with signals caught. Reports what ended it,
// ends its record and notes the exit status in the run log. Returns the exit status: 1 for an exception
// and for a run that went well but could not write all that it reports.
//
// Threads: the main thread, while no other runs.
// Errors: none.
int run_program(const std::function<int()>& work);
