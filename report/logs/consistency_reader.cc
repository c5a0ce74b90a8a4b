#include "report/logs/consistency_reader.h"

#include <string>
#include <utility>

#include "report/logs/failures.h"
#include "report/logs/scanner.h"

namespace report::logs {

namespace {

constexpr std::size_t k_most_other_pos = 1000;
constexpr std::size_t k_most_errors = 1000;
constexpr std::size_t k_most_failed_dirs = 100000;

// The last two names of a path.
std::string client_and_policy(std::string_view path) {
  const std::size_t policy = path.rfind('/');
  if (policy == 0 || policy == std::string_view::npos) return std::string(path);
  const std::size_t client = path.rfind('/', policy - 1);
  return std::string(path.substr(client + 1));
}

bool is_any_of(std::string_view line, std::initializer_list<std::string_view> beginnings) {
  for (const std::string_view beginning : beginnings) {
    if (line.substr(0, beginning.size()) == beginning) return true;
  }
  return false;
}

}  // namespace

// What follows an error and is no line of its own is the rest of its text.
bool ConsistencyReader::take_orphan_line(std::string_view line) {
  const Last last = std::exchange(m_last, Last::none);
  std::uint64_t count = 0;
  if (take_prefix(line, "Would have deleted the POs for the image: ")) {
    return take_orphan(line, Task::dry_run);
  }
  if (take_prefix(line, "Deleted the POs for the image: ")) {
    return take_orphan(line, Task::deletion);
  }
  if (last == Last::orphan && take_prefix(line, "also takes ")) return take_other_po(line);
  if (last == Last::orphan && (Scanner(line).skip("Would delete ").number(count).skip(" POs.") ||
                               Scanner(line).skip("Deleted ").number(count).skip(" POs."))) {
    m_orphans.add_taken_pos(count);
    m_last = Last::orphan;
    return true;
  }
  if (is_opening_line(line) || is_any_of(line, {"Started processing policy dir "})) return true;
  if (take_error(line)) return true;
  if (last != Last::failure) return false;
  continue_failure(m_details.failed, line);
  m_last = Last::failure;
  return true;
}

bool ConsistencyReader::take_orphan(std::string_view image, Task task) {
  std::string_view client;
  std::string_view policy;
  OtherPO orphan;
  Scanner scan(image);
  scan.skip("{client: ").up_to(", policy: ", client).up_to(", backup_time: ", policy);
  scan.number(orphan.backup_time).skip(", copy_number: ").number(orphan.copy_number).skip("}.");
  if (!scan.end() || !is_name(client) || !is_name(policy)) return false;
  m_details.task = task;
  m_orphans.add(client, policy, orphan.backup_time);
  orphan.client = client;
  orphan.policy = policy;
  m_orphan = std::move(orphan);
  m_last = Last::orphan;
  return true;
}

bool ConsistencyReader::take_other_po(std::string_view name) {
  m_orphans.add_other_po();
  m_last = Last::orphan;
  if (m_details.other_pos.size() == k_most_other_pos) return true;
  m_details.other_pos.push_back(m_orphan);
  m_details.other_pos.back().basename = shortened(name);
  return true;
}

bool ConsistencyReader::take_error(std::string_view line) {
  std::string_view status;
  Scanner scan(line);
  scan.skip("ERROR (").up_to(
      ") : could not compare the Tavrin catalog and deduplication metadata "
      "for ",
      status);
  if (scan) {
    add_failure(m_details.failed, scan.rest(), status);
    if (m_failed_dirs.size() < k_most_failed_dirs) {
      m_failed_dirs.insert(
          shortened(client_and_policy(scan.rest().substr(0, scan.rest().find("; ")))));
    }
    m_last = Last::failure;
    return true;
  }
  if (is_any_of(line, {"ERROR: could not delete the POs for the image: "})) {
    m_details.errors.add(shortened(line), k_most_errors);
    return true;
  }
  if (!take_prefix(line, "ERROR: could not parse PO file name; ")) return false;
  m_details.unparsed_names.add(shortened(line), k_most_errors);
  return true;
}

bool ConsistencyReader::take_missing_line(std::string_view line) {
  if (line == "backupid|client_name|policy_name|copy_num|") return true;
  std::string_view backup_id;
  std::string_view client;
  std::string_view policy;
  std::uint64_t copy = 0;
  Scanner scan(line);
  scan.up_to("|", backup_id).up_to("|", client).up_to("|", policy).number(copy).skip("|");
  std::int64_t time = 0;
  if (!scan.end() || !is_name(client) || !is_name(policy)) return false;
  if (!Scanner(backup_id).skip(client).skip("_").number(time).end()) return false;
  m_missing.add(client, policy, time);
  return true;
}

bool ConsistencyReader::take_policy_dir_line(std::string_view line) {
  if (take_prefix(line, "client_name|policy_name|pos|copies|")) return true;
  std::string_view client;
  std::string_view policy;
  std::uint64_t pos = 0;
  std::uint64_t copies = 0;
  std::uint64_t other = 0;
  Scanner scan(line);
  scan.up_to("|", client).up_to("|", policy).number(pos).skip("|").number(copies).skip("|");
  for (int field = 0; field < 4; ++field) scan.number(other).skip("|");
  if (!scan.end()) return false;
  if (ImageGroup* group = m_orphans.find(client, policy); group != nullptr) {
    // Directories of several numbers that are all walked, such as 2 and 02, count as one.
    group->dir_copies = group->dir_copies.value_or(0) + copies;
    group->dir_pos = group->dir_pos.value_or(0) + pos;
  }
  return true;
}

void ConsistencyReader::finish(ConsistencyDetails& details) {
  if (m_details.task != Task::unknown && details.task == Task::consistency) {
    details.task = m_details.task;
  }
  details.orphans = m_orphans.finish();
  details.missing = m_missing.finish();
  for (ImageGroup& group : details.missing.groups) {
    group.dir_failed = m_failed_dirs.count(group.client + "/" + group.policy) != 0;
  }
  details.other_pos = std::move(m_details.other_pos);
  details.unparsed_names = std::move(m_details.unparsed_names);
  details.failed = std::move(m_details.failed);
  details.errors = std::move(m_details.errors);
}

}  // namespace report::logs
