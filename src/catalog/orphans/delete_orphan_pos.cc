#include "catalog/orphans/delete_orphan_pos.h"

#include <utility>
#include <variant>

#include "record/run_record.h"
#include "signals/interrupt.h"
#include "status/status.h"

namespace catalog::podb {

std::string DeleteOrphanPOs::initial_string() {
  return "";
}

std::string DeleteOrphanPOs::text_of(const record::DirCounts& counts) {
  return BaseCompareWithTVR::text_of(counts) + ", " + std::to_string(counts.taken_pos) +
         " POs deleted";
}

void DeleteOrphanPOs::visit_image_copies_not_in_TV_impl() {
  BaseCompareWithTVR::visit_image_copies_not_in_TV_impl();
  if (!m_in_transaction.empty()) commit_orphans();
}

void DeleteOrphanPOs::visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) {
  constexpr std::size_t k_most_orphans = 1000;
  constexpr std::chrono::seconds k_longest(1);
  record::Orphan found = orphan(backup_time, copy_number);
  cr_status_t status = k_status_ok;
  if (m_in_transaction.empty()) {
    require_no_signal();
    m_begin = Clock::now();
    status = m_transaction.begin();
  }
  if (status == k_status_ok) status = delete_pos(found);
  if (status != k_status_ok) give_up(status, found);
  m_in_transaction.push_back(std::move(found));
  if (m_in_transaction.size() == k_most_orphans || Clock::now() - m_begin >= k_longest)
    commit_orphans();
}

// A directory with few orphans is finished, as the notice of the signal says.
void DeleteOrphanPOs::require_no_signal() const {
  if (m_deleted == 0 || !util::interrupted()) return;
  throw Cr_ErrnoException(k_status_interrupted, "stopped after " + std::to_string(m_deleted) +
                                                    " orphan copies, which are deleted");
}

// A row that vanished or changed its name was changed by another process since it was listed. It
// stays, and the number of POs differs.
cr_status_t DeleteOrphanPOs::delete_pos(record::Orphan& orphan) {
  std::uint64_t taken_pos = 0;
  const auto take = [&](std::int64_t number) {
    cr_status_t status = podb().get_row(number, m_row);
    if (status == k_status_db_no_such_po) return k_status_ok;
    if (status != k_status_ok) return status;
    const auto* basename = std::get_if<std::string>(&m_row.front());
    if (basename == nullptr || !matches().is_match(key_of(orphan), *basename)) return k_status_ok;
    if (saves_pos()) record::run_record().add(directory(), m_row);
    status = podb().remove_row(number);
    if (status == k_status_ok) ++taken_pos;
    return status;
  };
  const cr_status_t status = matches().for_each_row(key_of(orphan), take);
  if (status != k_status_ok) return status;
  if (taken_pos != orphan.pos) messages().took_others(directory(), orphan, taken_pos);
  orphan.pos = taken_pos;
  orphan.deleted = true;
  return k_status_ok;
}

// Nothing is deleted before its record is synced.
cr_status_t DeleteOrphanPOs::commit() {
  if (!record::run_record().commit()) return k_status_record_lost;
  return m_transaction.commit();
}

void DeleteOrphanPOs::commit_orphans() {
  const cr_status_t status = commit();
  if (status != k_status_ok) give_up(status, m_in_transaction.front());
  report_deleted(m_in_transaction.end());
  m_in_transaction.clear();
}

void DeleteOrphanPOs::report_deleted(Orphans::iterator end) {
  for (auto orphan = m_in_transaction.begin(); orphan != end; ++orphan) {
    count_taken(*orphan);
    messages().deleted(directory(), *orphan);
    ++m_deleted;
  }
  // If rows are not saved, this is the only trace of them that a killed run leaves.
  if (!saves_pos()) (void)record::run_record().commit();
}

// Deletes the orphans before `end` in a transaction of their own. Returns the first that could not
// be deleted, or `end` if all were; otherwise none is. Saves POs again: they may have changed.
DeleteOrphanPOs::Orphans::iterator DeleteOrphanPOs::delete_again(Orphans::iterator end) {
  if (m_transaction.begin() != k_status_ok) return m_in_transaction.begin();
  for (auto orphan = m_in_transaction.begin(); orphan != end; ++orphan) {
    if (delete_pos(*orphan) != k_status_ok) return orphan;
  }
  return commit() == k_status_ok ? end : m_in_transaction.begin();
}

// After an error SQLite may have rolled the transaction back, and it does not commit one that met
// damage. So the orphans before the failed one are deleted again, without it.
void DeleteOrphanPOs::give_up(cr_status_t status, const record::Orphan& failed) {
  auto end = m_in_transaction.end();
  bool is_deleted = false;
  while (!is_deleted && end != m_in_transaction.begin()) {
    (void)m_transaction.roll_back();  // what stays open is rolled back with the database
    const auto last = std::exchange(end, delete_again(end));
    is_deleted = end == last;
  }
  (void)m_transaction.roll_back();
  report_deleted(end);
  record::Orphan left = end == m_in_transaction.end() ? failed : *end;
  left.deleted = false;
  throw Cr_ErrnoException(status, messages().not_deleted(directory(), left));
}

}  // namespace catalog::podb
