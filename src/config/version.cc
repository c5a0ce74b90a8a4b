#include "config/version.h"

std::string project_version() {
  return MDFIXUP_VERSION;
}

std::string version_text(std::string_view program) {
  return std::string(program) + " " + project_version() + "\n";
}
