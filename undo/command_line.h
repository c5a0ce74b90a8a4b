#pragma once

#include <string>

#include "undo/restore/recorded_dirs.h"

namespace undo {

enum class Command { help, version, list, show, restore, forget };

// The command line; --num_threads and --tvr_location are in tool/option_table.
struct Request {
  Command command = Command::help;
  std::string run;  // an id or the path of a record
  catalog::WantedNames wanted;
  bool dry_run = false;
};

// False, after one line on standard error, if it is rejected.
bool parse(int argc, char** argv, Request& request);

// The text of --help.
std::string help();

}  // namespace undo
