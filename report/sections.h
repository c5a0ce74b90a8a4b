#pragma once

#include <vector>

#include "report/model.h"
#include "report/run_file.h"

namespace report {

// The table of runs.
Table table_of(const std::vector<RunFile>& runs);

// What the record of the run says, `all` holding the run and the others. The first `most` rows of each
// table have been read once, so that what cannot be read is found here.
// Errors: Cr_ErrnoException when the record cannot be read.
Section section_of(const RunFile& file, const std::vector<RunFile>& all, std::int64_t most);

}  // namespace report
