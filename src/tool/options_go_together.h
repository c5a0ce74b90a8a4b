#pragma once

// Whether the options of the command line can be used with each other and with the task. False after
// one line that names two that cannot.
// Threads: the main thread, after parse_options.
bool options_go_together();
