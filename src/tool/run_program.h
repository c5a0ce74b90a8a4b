#pragma once

#include <functional>

// Runs `work`, which returns the exit status, with signals caught. Reports an exception, ends the record
// and notes the exit status in the run log. Returns the exit status: 1 for an exception, and for a
// successful run that could not write all its reports.
//
// Threads: the main thread, while no other runs.
// Errors: none.
int run_program(const std::function<int()>& work);
