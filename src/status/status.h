#pragma once

#include <exception>
#include <string>

// A status: 0 is success, a named value below is this program's, any other is an errno value.
using cr_status_t = int;

constexpr cr_status_t k_status_ok = 0;
constexpr cr_status_t k_status_lock_file_exists = 1;
constexpr cr_status_t k_status_entry_missing = 2;
constexpr cr_status_t k_status_malformed = 4;
constexpr cr_status_t k_status_buffer_too_small = 14;
constexpr cr_status_t k_status_cannot_connect = 17;
constexpr cr_status_t k_status_popen_failed = 22;
constexpr cr_status_t k_status_pipe_read = 25;
constexpr cr_status_t k_status_connection_refused = 53;
constexpr cr_status_t k_status_lock_held = 68;
constexpr cr_status_t k_status_host_name = 84;
constexpr cr_status_t k_status_end_of_iteration = 85;
constexpr cr_status_t k_status_child_did_not_exit = 99;
constexpr cr_status_t k_status_handled = 103;

// Databases; above all errno values.
constexpr cr_status_t k_status_db_error = 200;
constexpr cr_status_t k_status_db_busy = 201;
constexpr cr_status_t k_status_db_damaged = 202;
constexpr cr_status_t k_status_db_foreign = 203;
constexpr cr_status_t k_status_db_newer = 204;
constexpr cr_status_t k_status_db_io = 205;
constexpr cr_status_t k_status_db_full = 206;
constexpr cr_status_t k_status_db_read_only = 207;
constexpr cr_status_t k_status_db_cannot_open = 208;
constexpr cr_status_t k_status_db_unfinished = 209;
constexpr cr_status_t k_status_db_no_such_po = 210;
constexpr cr_status_t k_status_db_write_ahead_log = 211;

constexpr cr_status_t k_status_record_lost = 220;
constexpr cr_status_t k_status_interrupted = 221;
constexpr cr_status_t k_status_over_limit = 222;

// A short text for any status, without a line end. Threads: any.
std::string CRStatusToStringA(cr_status_t status);

// A failure that its function cannot handle: a status and a text for the operator. A colon and the
// detail, such as strerror's text, follow the text.
class Cr_ErrnoException : public std::exception {
 public:
  Cr_ErrnoException(cr_status_t status, const std::string& text, const std::string& detail = "");

  cr_status_t GetStatus() const { return m_status; }
  const std::string& GetString() const { return m_text; }
  const char* what() const noexcept override { return m_text.c_str(); }

 private:
  cr_status_t m_status;
  std::string m_text;
};
