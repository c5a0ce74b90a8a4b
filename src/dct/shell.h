#pragma once

#include <string>
#include <string_view>

namespace dct {

// Runs a command through the shell and waits for it. Returns whether it exited with 0; the run log
// notes any other end. This process ignores SIGINT while it waits. If SIGINT ended the command, it
// raises the signal again for itself.
// Threads: one thread.
bool run_in_shell(const std::string& command);

// `text` in double quotes, as one word that the shell passes on unchanged.
std::string in_double_quotes(const std::string& text);

// Whether the shell passes `text` on unchanged as one word without quotes: letters, digits,
// `. _ - + : @ /` and the bytes from 0x80. Not if empty, and not with a leading "-", which a command
// takes for an option. Check everything that goes into a command without quotes.
bool is_plain_shell_word(std::string_view text);

}  // namespace dct
