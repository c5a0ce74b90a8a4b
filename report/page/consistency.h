#pragma once

#include <ostream>
#include <string>

#include "report/model.h"

namespace report::page {

// The section of a dry run or a deletion: what goes, and what speaks against it.
void write_consistency(const ConsistencyDetails& details, const std::string& id, std::ostream& out);

}  // namespace report::page
