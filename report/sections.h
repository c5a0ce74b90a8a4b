#pragma once

#include <memory>
#include <vector>

#include "report/contents.h"
#include "report/model.h"
#include "report/run_file.h"

// What sections and tables are made of.
namespace report {

// The table of runs.
Table table_of(const std::vector<RunFile>& runs);

// What the record of the run says, `all` holding the run and the others, newest first. The first `most`
// rows of each table have been read once, so that what cannot be read is found here.
// Errors: Cr_ErrnoException when the record cannot be read.
Section section_of(const RunFile& file, const std::vector<RunFile>& all, std::int64_t most);

// What to look at before acting on the run, the gravest first. None means only that the record names
// nothing: a listing that was incomplete, or the wrong disk pool, leaves no trace in it.
std::vector<Concern> concerns_of(const RunFile& file, const Contents& contents,
                                 const std::vector<RunFile>& all);

// The tables of one run, with what matters most first.
// Errors: those of the reader.
std::vector<Table> tables_of(const RunFile& file, record::RunReader& reader,
                             const SharedContents& contents);

// Each orphan of the run, for a list. Memory does not grow with them.
Table images_of(const RunFile& file);

}  // namespace report
