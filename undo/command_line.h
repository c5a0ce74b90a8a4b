#pragma once

#include <string>

#include "catalog/restore/recorded_dirs.h"

namespace undo {

enum class Command { help, list, show, restore, forget };

// What the command line asks for; --num_threads and --tvr_location are in the option table of the runs.
struct Request {
  Command command = Command::help;
  std::string run;  // its id, or the path of its record
  catalog::WantedNames wanted;
  bool dry_run = false;
};

// False, after one line on standard error, when it is rejected.
bool parse(int argc, char** argv, Request& request);

// What --help prints.
std::string help();

}  // namespace undo
