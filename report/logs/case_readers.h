#pragma once

#include <map>
#include <string>
#include <string_view>

#include "report/model.h"

namespace report::logs {

// Reads the log of a case scan.
class ScanReader {
 public:
  // False for a line that does not belong there.
  bool take(std::string_view line);

  // Moves what was read to `details`. To be called once, last.
  void finish(ScanDetails& details);

 private:
  std::map<std::string, std::uint64_t, std::less<>> m_clients;
  ScanDetails m_details;
};

// Reads the two logs of a case repair.
class RepairReader {
 public:
  bool take(std::string_view line);
  bool take_collision(std::string_view line);

  void finish(RepairDetails& details);

 private:
  bool take_move(std::string_view line);
  bool take_error(std::string_view line);

  RepairDetails m_details;
  bool m_after_warning = false;
  bool m_after_failure = false;
};

}  // namespace report::logs
