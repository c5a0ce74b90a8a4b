#include "report/logs/parts.h"

#include "report/logs/scanner.h"

namespace report::logs {

bool begins_part(Kind kind, std::string_view line) {
  switch (kind) {
    case Kind::scan:
    case Kind::repair:
    case Kind::orphans:
      return take_prefix(line, "Number of threads: ");
    case Kind::missing:
      return take_prefix(line, "backupid|");
    case Kind::policy_dirs:
      return take_prefix(line, "client_name|");
    case Kind::collisions:
    case Kind::run_log:
      break;
  }
  return false;
}

}  // namespace report::logs
