#pragma once

#include <memory>
#include <vector>

#include "report/contents.h"
#include "report/model.h"
#include "report/run_file.h"

namespace report {

// The table of all runs.
Table table_of(const std::vector<RunFile>& runs);

// The details of one run; `all` holds every run found, newest first. Reads the first `max_rows` rows of
// each table once, so that an unreadable record fails here and not in the middle of a view.
// Errors: Cr_ErrnoException when the record cannot be read.
Section section_of(const RunFile& file, const std::vector<RunFile>& all, std::int64_t max_rows);

// The concerns about a run, the gravest first. None does not prove the run right: an incomplete listing
// or a wrong disk pool leaves no trace in the record.
std::vector<Concern> concerns_of(const RunFile& file, const Contents& contents,
                                 const std::vector<RunFile>& all);

// The tables of one run, the most important first.
// Errors: those of the reader.
std::vector<Table> tables_of(const RunFile& file, record::RunReader& reader,
                             const SharedContents& contents);

// Each orphan of the run, read row by row.
Table images_of(const RunFile& file);

}  // namespace report
