#include "bench/limits/copies.h"

#include <algorithm>
#include <charconv>
#include <ctime>
#include <set>

#include "bench/limits/listing.h"

namespace limits {

namespace {

std::string command_line(const ImageQuery& query, const std::string& filter) {
  constexpr std::time_t k_hour_seconds = 3600;
  return query.command + filter + " -hoursago " +
         std::to_string(std::time(nullptr) / k_hour_seconds + 1) + " 2>&1";
}

std::string missing_line(std::string_view client, std::string_view policy, std::int64_t time,
                         std::uint32_t number) {
  const std::string name(client);
  return name + "_" + std::to_string(time) + "|" + name + "|" + std::string(policy) + "|" +
         std::to_string(number) + "|\n";
}

}  // namespace

// Names come in byte order and all times have the same number of digits, so the copies are sorted too.
std::vector<Copy> copies_in(Database& database, const std::string& client) {
  std::vector<Copy> copies;
  Statement names(database, "SELECT basename FROM po ORDER BY basename");
  const std::string prefix = client + "_";
  while (names.step()) {
    const std::string_view name = names.text(0);
    if (name.substr(0, prefix.size()) != prefix) continue;
    Copy copy{};
    const char* const end = name.data() + name.size();
    const auto time = std::from_chars(name.data() + prefix.size(), end, copy.time);
    if (end - time.ptr < 3) continue;
    std::from_chars(time.ptr + 2, end, copy.number);  // after "_C"
    if (copies.empty() || copies.back() < copy) copies.push_back(copy);
  }
  return copies;
}

void compare(const ImageQuery& query, const PolicyDir& dir, std::vector<Copy>& copies,
             Findings& findings) {
  const std::string filter = " -client " + dir.client + " -policy " + dir.policy;
  Listing listing(command_line(query, filter), query.disk_pool);
  while (listing.next()) {
    if (listing.client() != dir.client || listing.policy() != dir.policy) continue;
    for (const std::uint32_t number : listing.copies()) {
      const Copy wanted{listing.time(), number, false};
      const auto copy = std::lower_bound(copies.begin(), copies.end(), wanted);
      if (copy != copies.end() && !(wanted < *copy)) {
        copy->listed = true;
      } else {
        findings.missing += missing_line(dir.client, dir.policy, wanted.time, number);
      }
    }
  }
  for (const Copy& copy : copies) {
    if (!copy.listed) findings.orphans += orphan_line(dir, copy);
  }
}

std::string missing_elsewhere(const ImageQuery& query, const std::vector<PolicyDir>& dirs) {
  std::set<std::pair<std::string, std::string>, std::less<>> known;
  for (const PolicyDir& dir : dirs) known.emplace(dir.client, dir.policy);
  std::string lines;
  std::pair<std::string, std::string> pair;
  bool is_known = false;
  Listing listing(command_line(query, ""), query.disk_pool);
  while (listing.next()) {
    if (pair.first != listing.client() || pair.second != listing.policy()) {
      pair = {std::string(listing.client()), std::string(listing.policy())};
      is_known = known.count(pair) != 0;
    }
    if (is_known) continue;
    for (const std::uint32_t number : listing.copies()) {
      lines += missing_line(listing.client(), listing.policy(), listing.time(), number);
    }
  }
  return lines;
}

std::string orphan_line(const PolicyDir& dir, const Copy& copy) {
  return "{client: " + dir.client + ", policy: " + dir.policy +
         ", backup_time: " + std::to_string(copy.time) +
         ", copy_number: " + std::to_string(copy.number) + "}.\n";
}

}  // namespace limits
