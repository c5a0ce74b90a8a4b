#pragma once

namespace dct {

// Gives every child command of the process a fixed PATH and the C locale: whoever starts the
// program may have neither, and the listings are read by their words.
// Threads: call it before any other thread runs.
void fix_child_environment();

}  // namespace dct
