#include "catalog/orphans/delete_orphan_pos.h"

#include <utility>
#include <variant>

#include "record/run_record.h"
#include "signals/interrupt.h"
#include "status/status.h"

namespace catalog::podb {

namespace {

details::numbers numbers_of(const record::Orphan& orphan) {
  return {orphan.backup_time, orphan.copy_number};
}

}  // namespace

std::string DeleteOrphanPOs::initial_string() {
  return "";
}

std::string DeleteOrphanPOs::text_of(const record::DirCounts& counts) {
  return BaseCompareWithTVR::text_of(counts) + ", " + std::to_string(counts.taken_pos) +
         " POs deleted";
}

void DeleteOrphanPOs::visit_image_copies_not_in_TV_impl() {
  BaseCompareWithTVR::visit_image_copies_not_in_TV_impl();
  if (!m_in_hand.empty()) commit_in_hand();
}

void DeleteOrphanPOs::visit_one_image_copy(std::int64_t backup_time, std::uint32_t copy_number) {
  constexpr std::size_t k_most_orphans = 1000;
  constexpr std::chrono::seconds k_longest(1);
  record::Orphan found = orphan(backup_time, copy_number);
  cr_status_t status = k_status_ok;
  if (m_in_hand.empty()) {
    require_no_signal();
    m_begin = Clock::now();
    status = podb().do_begin_transaction();
  }
  if (status == k_status_ok) status = delete_pos(found);
  if (status != k_status_ok) give_up(status, found);
  m_in_hand.push_back(std::move(found));
  if (m_in_hand.size() == k_most_orphans || Clock::now() - m_begin >= k_longest) commit_in_hand();
}

// A directory of few orphans is finished, as the notice of the signal says.
void DeleteOrphanPOs::require_no_signal() const {
  if (m_deleted == 0 || !util::interrupted()) return;
  throw Cr_ErrnoException(k_status_interrupted, "stopped after " + std::to_string(m_deleted) +
                                                    " orphan copies, which are deleted");
}

// A row that is gone, or has another name, was changed by somebody else since it was listed. It is left,
// and the number of POs differs.
cr_status_t DeleteOrphanPOs::delete_pos(record::Orphan& orphan) {
  std::uint64_t taken_pos = 0;
  const auto take = [&](std::int64_t number) {
    cr_status_t status = podb().get_row(number, m_row);
    if (status == k_status_db_no_such_po) return k_status_ok;
    if (status != k_status_ok) return status;
    const auto* basename = std::get_if<std::string>(&m_row.front());
    if (basename == nullptr || !takings().matches(numbers_of(orphan), *basename))
      return k_status_ok;
    if (saves_pos()) record::run_record().add(directory(), m_row);
    status = podb().remove_row(number);
    if (status == k_status_ok) ++taken_pos;
    return status;
  };
  const cr_status_t status = takings().for_each_row(numbers_of(orphan), take);
  if (status != k_status_ok) return status;
  if (taken_pos != orphan.pos) findings().took_others(directory(), orphan, taken_pos);
  orphan.pos = taken_pos;
  orphan.deleted = true;
  return k_status_ok;
}

// Nothing is gone before its record is on the disk.
cr_status_t DeleteOrphanPOs::commit() {
  if (!record::run_record().commit()) return k_status_record_lost;
  return podb().do_commit_transaction();
}

void DeleteOrphanPOs::commit_in_hand() {
  const cr_status_t status = commit();
  if (status != k_status_ok) give_up(status, m_in_hand.front());
  tell_deleted(m_in_hand.end());
  m_in_hand.clear();
}

void DeleteOrphanPOs::tell_deleted(Orphans::iterator end) {
  for (auto orphan = m_in_hand.begin(); orphan != end; ++orphan) {
    count_taken(*orphan);
    findings().deleted(directory(), *orphan);
    ++m_deleted;
  }
  // Where rows are not saved, this is all that a killed run leaves of them.
  if (!saves_pos()) (void)record::run_record().commit();
}

// The orphans before `end`, in a transaction of their own. Returns the first that could not be deleted;
// only where that is `end`, anything was. POs are saved again, since they may have changed since.
DeleteOrphanPOs::Orphans::iterator DeleteOrphanPOs::delete_again(Orphans::iterator end) {
  if (podb().do_begin_transaction() != k_status_ok) return m_in_hand.begin();
  for (auto orphan = m_in_hand.begin(); orphan != end; ++orphan) {
    if (delete_pos(*orphan) != k_status_ok) return orphan;
  }
  return commit() == k_status_ok ? end : m_in_hand.begin();
}

// After an error SQLite may have rolled the transaction back, and does not commit one that met damage. So
// what went before the orphan that failed is deleted again, without it.
void DeleteOrphanPOs::give_up(cr_status_t status, const record::Orphan& failed) {
  auto end = m_in_hand.end();
  bool is_deleted = false;
  while (!is_deleted && end != m_in_hand.begin()) {
    (void)podb().do_rollback_transaction();  // what is still open is rolled back with the database
    const auto last = std::exchange(end, delete_again(end));
    is_deleted = end == last;
  }
  (void)podb().do_rollback_transaction();
  tell_deleted(end);
  record::Orphan left = end == m_in_hand.end() ? failed : *end;
  left.deleted = false;
  throw Cr_ErrnoException(status, findings().not_deleted(directory(), left));
}

}  // namespace catalog::podb
