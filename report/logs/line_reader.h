#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "report/model.h"

namespace report::logs {

// Hands the lines of a log to `take`, without their ends, and notes in the result what could not be
// read. A line that `take` returns false for is noted as strange. Of a line longer than 64 KiB only
// the beginning is handed on. A last line without an end is not handed on: what is cut off may read
// as something else.
//
// Memory does not depend on the file. Nothing is thrown but by `take`.
SourceFile for_each_line(const std::string& path,
                         const std::function<bool(std::string_view)>& take);

}  // namespace report::logs
