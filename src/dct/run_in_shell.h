#pragma once

#include <string>

namespace dct {

// Runs a command through the shell and waits for its end. Returns whether it ended with 0; the run log
// is told of any other end. A command that SIGINT ended was interrupted at the terminal, and so was
// this program, which does not see the signal while it waits: it takes it then.
// Threads: one thread.
bool run_in_shell(const std::string& command);

// `text` in double quotes, as one word that means itself to the shell.
std::string in_double_quotes(const std::string& text);

}  // namespace dct
