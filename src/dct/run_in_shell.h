#pragma once

#include <string>

namespace dct {

// Runs a command through the shell and waits for its end. How it ended is noted in the run log and
// otherwise not looked at. A command that SIGINT ended was interrupted at the terminal, and so was
// this program, which does not see the signal while it waits: it takes it then.
// Threads: one thread.
void run_in_shell(const std::string& command);

// `text` in double quotes, as one word that means itself to the shell.
std::string in_double_quotes(const std::string& text);

}  // namespace dct
