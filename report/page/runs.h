#pragma once

#include <ostream>
#include <string>

#include "report/model.h"

// The sections of a page that no deletion is decided by.
namespace report::page {

void write_scan(const ScanDetails& details, const std::string& id, std::ostream& out);
void write_repair(const RepairDetails& details, const std::string& id, std::ostream& out);
void write_runs(const Report& report, std::ostream& out);
void write_files(const Report& report, std::ostream& out);

}  // namespace report::page
