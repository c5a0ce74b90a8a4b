#include "platform/status.h"

#include <array>
#include <cerrno>
#include <system_error>

namespace {

struct StatusText {
  cr_status_t status;
  const char* text;
};

constexpr std::array k_status_texts{
    StatusText{k_status_ok, "success"},
    StatusText{k_status_lock_file_exists, "lock file already exists"},
    StatusText{k_status_entry_missing, "configuration entry missing"},
    StatusText{k_status_malformed, "malformed data"},
    StatusText{k_status_buffer_too_small, "buffer too small"},
    StatusText{k_status_timed_out, "timed out"},
    StatusText{k_status_cannot_connect, "cannot connect to master server"},
    StatusText{k_status_popen_failed, "command could not be started"},
    StatusText{k_status_pipe_read, "pipe read error"},
    StatusText{k_status_connection_refused, "connection refused by master server"},
    StatusText{k_status_lock_held, "exclusive lock held by another process"},
    StatusText{k_status_host_name, "host name unknown"},
    StatusText{k_status_end_of_iteration, "end of iteration"},
    StatusText{k_status_child_did_not_exit, "command ended by a signal"},
    StatusText{k_status_handled, "handled condition"},
    StatusText{k_status_db_error, "database error"},
    StatusText{k_status_db_busy, "database is locked by another process"},
    StatusText{k_status_db_damaged, "database is damaged"},
    StatusText{k_status_db_foreign, "not a path-object database"},
    StatusText{k_status_db_newer, "database has a newer version"},
    StatusText{k_status_db_io, "database could not be read or written"},
    StatusText{k_status_db_full, "no space left for the database"},
    StatusText{k_status_db_read_only, "database is read-only"},
    StatusText{k_status_db_cannot_open, "database cannot be opened"},
    StatusText{k_status_db_unfinished, "database was left in the middle of a change"},
    StatusText{k_status_db_no_such_po, "no such path object"},
    StatusText{k_status_db_write_ahead_log, "database has a write-ahead log"},
};

}  // namespace

std::string CRStatusToStringA(cr_status_t status) {
  for (const StatusText& entry : k_status_texts) {
    if (entry.status == status) return entry.text;
  }
  return std::generic_category().message(status);
}

cr_status_t _crMapError(const char* step, const char* file, int line) {
  // The place is part of the library's interface for tracing; the error number alone is the status.
  (void)step;
  (void)file;
  (void)line;
  return errno;
}

Cr_ErrnoException::Cr_ErrnoException(cr_status_t status, const std::string& text,
                                     const std::string& detail)
    : m_status(status), m_text(detail.empty() ? text : text + ": " + detail) {}
