#pragma once

#include <memory>
#include <vector>

#include "report/contents.h"
#include "report/model.h"
#include "report/run_file.h"

namespace report {

using SharedContents = std::shared_ptr<const Contents>;

// The tables of one run, with what matters most first.
// Errors: those of the reader.
std::vector<Table> tables_of(const RunFile& file, record::RunReader& reader,
                             const SharedContents& contents);

// Each orphan of the run, for a list. Memory does not grow with them.
Table images_of(const RunFile& file);

}  // namespace report
