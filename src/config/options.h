#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

// The variable that receives an option's value; its type is the kind of the option.
using OptVariable = std::variant<bool*,          // a flag: true when given
                                 std::int32_t*,  // an integer
                                 std::int64_t*,  // a time in seconds since the epoch
                                 const char**,   // text that lives until the process ends
                                 std::vector<std::string>*>;  // one text for each time it is given

// One command-line option. `letter` may be 0, `default_text` null.
struct OptDescriptor {
  char letter;
  const char* long_name;
  const char* default_text;
  OptVariable variable;

  bool is_flag() const { return std::holds_alternative<bool*>(variable); }
};

// Sets every variable of the NULL-terminated table to its default, if it has one, and then, from left
// to right, to what the command line says. Values stand as `--name value` or `--name=value`; a value
// that begins with "-" only as `--name=value`, so that a forgotten value never swallows the next
// option. Names are not abbreviated.
//
// Returns 0; or -1 after one line on standard error, which names what is wrong, for an option that
// is unknown, lacks its value, has one it cannot take, or for a word that is no option.
// Threads: to be called from the main thread only.
int opt_parse(const OptDescriptor* const* options, int argc, char** argv);

// The last element of the path that the program was started by.
std::string GetProgramName(const char* argv0);
