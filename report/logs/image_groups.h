#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "report/model.h"

namespace report::logs {

// Gathers image copies by client and policy. Keeps a bounded number of groups.
//
// Threads: one thread.
class ImageGroups {
 public:
  // Counts a copy.
  void add(std::string_view client, std::string_view policy, std::int64_t backup_time);

  // Null where no copy of it was added, or there was no room for it. Valid until `finish`.
  ImageGroup* find(std::string_view client, std::string_view policy);

  // Counts POs that go with the copy added last.
  void add_taken_pos(std::uint64_t count);
  void add_other_po();

  // What was gathered: first the groups that lose everything, then by the share and the number of
  // copies, those with unknown shares last. To be called once, last.
  Images finish();

 private:
  ImageGroup* group_of(std::string_view client, std::string_view policy);

  std::unordered_map<std::string, ImageGroup> m_groups;
  ImageGroup* m_last = nullptr;  // copies of one group mostly stand together
  Images m_images;
};

}  // namespace report::logs
