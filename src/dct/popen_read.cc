#include "dct/popen_read.h"

#include <signal.h>
#include <string.h>
#include <sys/wait.h>

#include <cerrno>
#include <utility>

#include "dct/descriptor_limit.h"
#include "platform/run_log.h"
#include "platform/status.h"

namespace dct {

namespace {

// As much as a pipe holds: each read of less is one more change between the child and us.
constexpr std::size_t k_stream_buffer_bytes = 65536;

constexpr int k_shell_signal_base = 128;
constexpr int k_last_shell_signal = k_shell_signal_base + 31;

[[noreturn]] void throw_child_did_not_exit() {
  throw Cr_ErrnoException(k_status_child_did_not_exit, "the pipe command did not exit");
}

}  // namespace

void PopenRead::ClosePipe::operator()(std::FILE* stream) const {
  (void)::pclose(stream);
}

// The buffer is left uninitialised: a mebibyte of zeros for each directory would be seen.
PopenRead::PopenRead(std::size_t capacity, Stream stream)
    : m_capacity(capacity),
      m_stream_buffer(new char[k_stream_buffer_bytes]),
      m_buffer(new char[capacity]),
      m_stream(std::move(stream)) {
  // On failure the stream goes on with the buffer that it has.
  (void)std::setvbuf(m_stream.get(), m_stream_buffer.get(), _IOFBF, k_stream_buffer_bytes);
}

PopenRead::Stream PopenRead::start(const std::string& command) {
  errno = 0;
  Stream stream(::popen(with_first_descriptor_limit(command).c_str(), "re"));
  if (!stream) {
    throw Cr_ErrnoException(errno == 0 ? k_status_popen_failed : errno, "popen failed");
  }
  return stream;
}

bool PopenRead::read_line() {
  m_length = 0;
  char& last = m_buffer[m_capacity - 1];
  last = '\n';  // a line that fills the buffer puts a zero byte here
  if (std::fgets(m_buffer.get(), static_cast<int>(m_capacity), m_stream.get()) == nullptr) {
    if (std::ferror(m_stream.get()) != 0)
      throw Cr_ErrnoException(k_status_pipe_read, "pipe read error");
    m_at_end = true;
    return false;
  }
  m_at_end = std::feof(m_stream.get()) != 0;
  const std::size_t length = ::strnlen(m_buffer.get(), m_capacity);
  const bool is_filled = last == '\0' && m_buffer[m_capacity - 2] != '\n';
  const bool is_cut = length == 0 ? is_filled : m_buffer[length - 1] != '\n';
  if (is_cut && !m_at_end) {
    throw Cr_ErrnoException(k_status_buffer_too_small, "pipe buffer is too small");
  }
  if (length == 0) return true;
  m_length = length - 1;
  m_buffer[m_length] = '\0';
  return true;
}

int PopenRead::close() {
  std::FILE* stream = m_stream.release();  // gone even when closing fails
  errno = 0;
  const int status = ::pclose(stream);
  if (status == -1) throw Cr_ErrnoException(errno, "pclose failed");
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WTERMSIG(status) != SIGPIPE || m_at_end) throw_child_did_not_exit();
  return 0;
}

void PopenRead::close_query() {
  const int exit_code = close();
  const bool signalled = exit_code > k_shell_signal_base && exit_code <= k_last_shell_signal;
  const bool cut_off_by_us = exit_code == k_shell_signal_base + SIGPIPE && !m_at_end;
  if (cut_off_by_us) return;
  if (signalled) throw_child_did_not_exit();
  if (exit_code != 0) {
    WarningA("a query of the backup product ended with exit code " + std::to_string(exit_code));
  }
}

}  // namespace dct
