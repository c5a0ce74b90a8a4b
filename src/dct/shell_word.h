#pragma once

#include <string_view>

namespace dct {

// Whether `text` is one word to the shell that runs our commands, and means itself there: letters,
// digits, `. _ - + : @ /` and the bytes from 0x80, not empty and not beginning with "-", which the
// command would take for an option. Commands are built without quoting, so everything that goes
// into one is held against this first.
bool is_plain_shell_word(std::string_view text);

}  // namespace dct
