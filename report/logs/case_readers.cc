#include "report/logs/case_readers.h"

#include <utility>

#include "report/logs/failures.h"
#include "report/logs/scanner.h"

namespace report::logs {

namespace {

constexpr std::size_t k_most_clients = 100000;
constexpr std::size_t k_most_moves = 10000;
constexpr std::size_t k_most_collisions = 1000;

}  // namespace

bool ScanReader::take(std::string_view line) {
  constexpr std::string_view k_issue = " has name case-sensitivity issues.";
  if (is_opening_line(line)) return true;
  std::string_view status;
  Scanner scan(line);
  if (scan.skip("ERROR (").up_to("): could not read the deduplication metadata for ", status)) {
    // Nothing stands behind the path, which may hold anything.
    add_failure(m_details.failed, "", status);
    if (m_details.failed.first.size() == m_details.failed.count) {
      m_details.failed.first.back().dir = shortened(scan.rest());
    }
    return true;
  }
  if (!ends_with(line, k_issue) || !take_prefix(line, "Client ")) return false;
  line.remove_suffix(k_issue.size());
  if (!is_name(line)) return false;
  ++m_details.dirs_with_issues;
  const auto known = m_clients.find(line);
  if (known != m_clients.end()) {
    ++known->second;
  } else if (m_clients.size() < k_most_clients) {
    m_clients.emplace(line, 1);
  } else {
    ++m_details.dirs_left_out;
  }
  return true;
}

void ScanReader::finish(ScanDetails& details) {
  for (const auto& [client, dirs] : m_clients) details.clients.push_back({client, dirs});
  details.dirs_with_issues = m_details.dirs_with_issues;
  details.dirs_left_out = m_details.dirs_left_out;
  details.failed = std::move(m_details.failed);
}

// A warning ends with a full stop behind its line end, which the next text then follows.
bool RepairReader::take(std::string_view line) {
  const bool after_failure = std::exchange(m_after_failure, false);
  if (std::exchange(m_after_warning, false)) (void)take_prefix(line, ".");
  if (take_prefix(line, "Warning: a PO with the name ")) {  // the collision log has it in full
    m_after_warning = true;
    return true;
  }
  if (is_opening_line(line)) return true;
  if (take_move(line) || take_error(line)) return true;
  if (ends_with(line, " has case sensitivity issues.") && take_prefix(line, "Client ")) return true;
  m_after_failure = after_failure;
  if (after_failure) continue_failure(m_details.failed, line);
  return after_failure;
}

bool RepairReader::take_move(std::string_view line) {
  constexpr std::string_view k_to = " to /";  // no name holds a slash
  Move move;
  Scanner scan(line);
  if (!scan.skip("Moved ").number(move.pos).skip(" POs from ")) return false;
  const std::string_view paths = scan.rest();
  const std::size_t at = paths.rfind(k_to);
  if (at == std::string_view::npos) return false;
  m_details.moved_pos += move.pos;
  if (m_details.moves.size() == k_most_moves) {
    ++m_details.moves_left_out;
    return true;
  }
  move.from = shortened(paths.substr(0, at));
  move.to = shortened(paths.substr(at + k_to.size() - 1));
  m_details.moves.push_back(std::move(move));
  return true;
}

bool RepairReader::take_error(std::string_view line) {
  const std::string_view whole = line;
  if (take_prefix(line, "ERROR: could not repair ")) {
    add_failure(m_details.failed, line, "");
    m_after_failure = true;
    return true;
  }
  if (!take_prefix(line, "ERROR(")) return false;
  m_details.errors.add(shortened(whole), k_most_failures);
  return true;
}

bool RepairReader::take_collision(std::string_view line) {
  if (line.find("|basename=") == std::string_view::npos || line.back() != '|') return false;
  m_details.collisions.add(shortened(line), k_most_collisions);
  return true;
}

void RepairReader::finish(RepairDetails& details) {
  details.moves = std::move(m_details.moves);
  details.moved_pos = m_details.moved_pos;
  details.moves_left_out = m_details.moves_left_out;
  details.collisions = std::move(m_details.collisions);
  details.failed = std::move(m_details.failed);
  details.errors = std::move(m_details.errors);
}

}  // namespace report::logs
