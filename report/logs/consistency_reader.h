#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

#include "report/logs/image_groups.h"
#include "report/model.h"

namespace report::logs {

// Reads the three logs of a dry run or a deletion: first the orphan log, then the others, of which
// the one on policy directories tells how much of each group goes.
//
// Threads: one thread.
class ConsistencyReader {
 public:
  // Each takes a line of its log; false for one that does not belong there.
  bool take_orphan_line(std::string_view line);
  bool take_missing_line(std::string_view line);
  bool take_policy_dir_line(std::string_view line);

  // Moves what was read to `details`, whose task is set where it is not known. To be called once,
  // last.
  void finish(ConsistencyDetails& details);

 private:
  enum class Last { none, orphan, failure };

  bool take_orphan(std::string_view image, Task task);
  bool take_other_po(std::string_view name);
  bool take_error(std::string_view line);

  ConsistencyDetails m_details;
  ImageGroups m_orphans;
  ImageGroups m_missing;
  Last m_last = Last::none;
  std::unordered_set<std::string> m_failed_dirs;  // paths from the client on; the first ones
  OtherPO m_orphan;                               // the one read last, without a basename
};

}  // namespace report::logs
