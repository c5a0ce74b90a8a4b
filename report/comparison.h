#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "report/model.h"
#include "report/run_file.h"

namespace report {

// Some copies, with the POs that their deletion takes.
struct CopySum {
  std::uint64_t copies = 0;
  std::uint64_t pos = 0;
  std::uint64_t bytes = 0;
};

// The copies in two records, of one client and policy or in total.
struct ComparedGroup {
  std::string client;
  std::string policy;
  CopySum common;  // in both; POs and bytes are from NEW
  CopySum only_old;
  CopySum only_new;
  std::uint64_t changed_copies = 0;  // of the common ones: NEW has other numbers of POs or bytes
  bool failed_in_old = false;        // a directory was not compared to its end
  bool failed_in_new = false;
};

struct ComparedGroups {
  std::vector<ComparedGroup> groups;  // the greatest differences first
  ComparedGroup total;
};

// Compares the orphans and the missing copies of two records. A copy is the same in both if its DSID,
// client, policy, backup time and copy number are equal. Memory grows with the directories only: SQLite
// sorts the copies in temporary files, and both lists are merged as they are read.
struct Comparison {
  // Errors: Cr_ErrnoException, naming the record that cannot be read.
  Comparison(const std::string& old_record, const std::string& new_record);

  ComparedGroups orphans;
  ComparedGroups missing;
};

// The section of a comparison; `all` holds every run found, newest first.
// Errors: as of a Comparison.
Section section_of(const RunFile& old_run, const RunFile& new_run, const std::vector<RunFile>& all);

}  // namespace report
