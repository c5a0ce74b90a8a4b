#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

// The variable that receives an option's value; its type is the kind of the option.
using OptVariable = std::variant<bool*,          // a flag: true when given
                                 std::int32_t*,  // an integer
                                 std::int64_t*,  // a time in seconds since the epoch
                                 const char**,   // a text, valid until the process ends
                                 std::vector<std::string>*>;  // one text each time it is given

// One command-line option. `letter` may be 0, `default_text` null.
struct OptDescriptor {
  char letter;
  const char* long_name;
  const char* default_text;
  OptVariable variable;

  bool is_flag() const { return std::holds_alternative<bool*>(variable); }
};

// Sets each variable of the NULL-terminated table to its default, if any, and then from the command
// line. Values are given as `--name value` or `--name=value`. A value that begins with "-" needs
// `=`, so that a forgotten value never takes the next option. Names cannot be abbreviated.
//
// Returns 0; or -1, after one line on standard error, if an option is unknown or lacks a valid
// value, or if a word is no option. To be called from the main thread only.
int opt_parse(const OptDescriptor* const* options, int argc, char** argv);

// The last element of the path by which the program was started.
std::string GetProgramName(const char* argv0);
