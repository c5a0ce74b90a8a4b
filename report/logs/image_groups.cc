#include "report/logs/image_groups.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace report::logs {

namespace {

std::string key_of(std::string_view client, std::string_view policy) {
  return std::string(client).append(1, '\0').append(policy);
}

// Smaller for what is to be looked at first.
auto rank_of(const ImageGroup& group) {
  constexpr double k_unknown = -1;
  return std::make_tuple(!group.loses_everything(), -group.share().value_or(k_unknown),
                         ~group.copies, std::cref(group.client), std::cref(group.policy));
}

}  // namespace

void ImageGroups::add(std::string_view client, std::string_view policy, std::int64_t backup_time) {
  ++m_images.copies;
  m_images.timeline.add(backup_time);
  m_last = group_of(client, policy);
  if (m_last == nullptr) {
    ++m_images.copies_left_out;
    return;
  }
  if (m_last->copies++ == 0) {
    m_last->oldest = backup_time;
    m_last->newest = backup_time;
  }
  m_last->oldest = std::min(m_last->oldest, backup_time);
  m_last->newest = std::max(m_last->newest, backup_time);
}

ImageGroup* ImageGroups::group_of(std::string_view client, std::string_view policy) {
  constexpr std::size_t k_most_groups = 50000;
  if (m_last != nullptr && m_last->client == client && m_last->policy == policy) return m_last;
  if (ImageGroup* known = find(client, policy); known != nullptr) return known;
  if (m_groups.size() == k_most_groups) return nullptr;
  ImageGroup& group = m_groups[key_of(client, policy)];
  group.client = client;
  group.policy = policy;
  return &group;
}

ImageGroup* ImageGroups::find(std::string_view client, std::string_view policy) {
  const auto known = m_groups.find(key_of(client, policy));
  return known == m_groups.end() ? nullptr : &known->second;
}

void ImageGroups::add_taken_pos(std::uint64_t count) {
  m_images.taken_pos += count;
  if (m_last != nullptr) m_last->taken_pos += count;
}

void ImageGroups::add_other_po() {
  ++m_images.other_copies_pos;
  if (m_last != nullptr) ++m_last->other_copies_pos;
}

Images ImageGroups::finish() {
  for (auto& [key, group] : m_groups) {
    if (group.loses_everything()) ++m_images.groups_losing_everything;
    m_images.groups.push_back(std::move(group));
  }
  std::sort(m_images.groups.begin(), m_images.groups.end(),
            [](const ImageGroup& a, const ImageGroup& b) { return rank_of(a) < rank_of(b); });
  return std::move(m_images);
}

}  // namespace report::logs
