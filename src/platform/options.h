#pragma once

#include <string>

// The kinds of value, each with the type of the variable that receives it.
enum class OptKind {
  flag,     // bool, true when given
  integer,  // std::int32_t
  time,     // std::int64_t, seconds since the epoch
  string,   // const char*, text that lives until the process ends
};

struct OptGroup {
  const char* name;
};

// One command-line option. `group`, `default_text` and `help` may be null, `letter` 0.
struct OptDescriptor {
  const OptGroup* group;
  char letter;
  const char* long_name;
  OptKind kind;
  const char* default_text;
  void* variable;
  const char* help;
};

// Sets every variable of the NULL-terminated table to its default (a string without one to null)
// and then, from left to right, to what the command line says. Values stand as `--name value` or
// `--name=value`; a value that begins with "-" only as `--name=value`, so that a forgotten value
// never swallows the next option. Names are not abbreviated.
//
// Returns 0; or -1 after one line on standard error, which names what is wrong, for an option that
// is unknown, lacks its value, has one it cannot take, or for a word that is no option.
// Threads: to be called from the main thread only.
int opt_parse(const OptDescriptor* const* options, int argc, char** argv);

// The last element of the path that the program was started by.
std::string GetProgramName(const char* argv0);
