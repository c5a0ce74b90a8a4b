#pragma once

// Writes the help text to standard output.
void Usage();
