#include "status/status.h"

#include <system_error>
#include <utility>

namespace {

constexpr std::pair<cr_status_t, const char*> k_status_texts[] = {
    {k_status_ok, "success"},
    {k_status_lock_file_exists, "lock file already exists"},
    {k_status_entry_missing, "configuration entry missing"},
    {k_status_malformed, "malformed data"},
    {k_status_buffer_too_small, "buffer too small"},
    {k_status_cannot_connect, "cannot connect to master server"},
    {k_status_popen_failed, "command could not be started"},
    {k_status_pipe_read, "pipe read error"},
    {k_status_connection_refused, "connection refused by master server"},
    {k_status_lock_held, "exclusive lock held by another process"},
    {k_status_host_name, "host name unknown"},
    {k_status_end_of_iteration, "end of iteration"},
    {k_status_child_did_not_exit, "command ended by a signal"},
    {k_status_handled, "handled condition"},
    {k_status_db_error, "database error"},
    {k_status_db_busy, "database is locked by another process"},
    {k_status_db_damaged, "database is damaged"},
    {k_status_db_foreign, "not a path-object database"},
    {k_status_db_newer, "database has a newer version"},
    {k_status_db_io, "database could not be read or written"},
    {k_status_db_full, "no space left for the database"},
    {k_status_db_read_only, "database is read-only"},
    {k_status_db_cannot_open, "database cannot be opened"},
    {k_status_db_unfinished, "database was left in the middle of a change"},
    {k_status_db_no_such_po, "no such path object"},
    {k_status_db_write_ahead_log, "database has a write-ahead log"},
    {k_status_record_lost, "the record of the run could not be written"},
    {k_status_interrupted, "interrupted by a signal"},
    {k_status_over_limit, "over the limit"},
};

}  // namespace

std::string CRStatusToStringA(cr_status_t status) {
  for (const auto& [named, text] : k_status_texts) {
    if (named == status) return text;
  }
  return std::generic_category().message(status);
}

Cr_ErrnoException::Cr_ErrnoException(cr_status_t status, const std::string& text,
                                     const std::string& detail)
    : m_status(status), m_text(detail.empty() ? text : text + ": " + detail) {}
