#pragma once

#include "report/model.h"

namespace report::fleet {

// Sums up the reports of many hosts, and the files that the playbook writes beside them: a table of hosts, the
// most urgent first, and each host's details. A host has the name of its file. Memory grows with the hosts
// and not with what their reports list.
// Errors: std::invalid_argument without a file. A file that cannot be read becomes a fault, and its host is in
// the table.
Report make_report(const Texts& files);

}  // namespace report::fleet
