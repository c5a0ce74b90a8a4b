#pragma once

#include <string>
#include <vector>

#include "report/model.h"

namespace report {

// Reads the logs at the paths, which are directories or files. Of a directory the newest run of each
// task is read in detail, and the run log whole. Logs of different log directories belong to different
// runs. What could not be read is in the result's files.
// Errors: none but for lack of memory.
Report collect(const std::vector<std::string>& paths);

}  // namespace report
