#include "dct/popen_read.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "console/run_log.h"
#include "dct/descriptor_limit.h"
#include "status/status.h"

namespace dct {

namespace {

// The capacity of a pipe. Smaller reads cost more switches between child and parent.
constexpr std::size_t k_read_bytes = 65536;

constexpr int k_shell_signal_base = 128;
constexpr int k_last_shell_signal = k_shell_signal_base + 31;

// The first zero byte; null if there is none.
const char* find_zero(const char* begin, const char* end) {
  return static_cast<const char*>(std::memchr(begin, '\0', static_cast<std::size_t>(end - begin)));
}

[[noreturn]] void throw_child_did_not_exit() {
  throw Cr_ErrnoException(k_status_child_did_not_exit, "the pipe command did not exit");
}

}  // namespace

void PopenRead::ClosePipe::operator()(std::FILE* stream) const {
  (void)::pclose(stream);
}

// The buffer stays uninitialised: clearing a mebibyte for each directory takes measurable time.
PopenRead::PopenRead(std::size_t capacity, Stream stream)
    : m_capacity(capacity),
      m_buffer(new char[capacity + k_read_bytes]),
      m_stream(std::move(stream)),
      m_begin(m_buffer.get()),
      m_end(m_buffer.get()) {}

PopenRead::Stream PopenRead::start(const std::string& command) {
  errno = 0;
  Stream stream(::popen(with_first_descriptor_limit(command).c_str(), "re"));
  if (!stream) {
    throw Cr_ErrnoException(errno == 0 ? k_status_popen_failed : errno, "popen failed");
  }
  return stream;
}

bool PopenRead::read_line() {
  m_line = {};
  const char* const end = find_line_end();
  if (end == m_begin) return false;
  take_line(end);
  m_begin += end - m_begin;
  return true;
}

// Returns the end of the next line, after its line end. A line that is too long ends at the capacity,
// the last one at the end of the output.
const char* PopenRead::find_line_end() {
  const std::size_t most = m_capacity - 1;
  std::size_t searched = 0;
  while (true) {
    const auto length = std::min(static_cast<std::size_t>(m_end - m_begin), most);
    const void* const found = std::memchr(m_begin + searched, '\n', length - searched);
    if (found != nullptr) return static_cast<const char*>(found) + 1;
    if (length == most || !read_more()) return m_begin + length;
    searched = length;
  }
}

// Moves what was not returned to the start of the buffer and reads more; false at the end of the output.
bool PopenRead::read_more() {
  const auto kept = static_cast<std::size_t>(m_end - m_begin);
  if (m_begin != m_buffer.get()) std::memmove(m_buffer.get(), m_begin, kept);
  if (m_zero != nullptr) m_zero = m_buffer.get() + (m_zero - m_begin);
  m_begin = m_buffer.get();
  m_end = m_begin + kept;
  const ssize_t count = ::read(::fileno(m_stream.get()), m_end, k_read_bytes);
  if (count < 0) throw Cr_ErrnoException(k_status_pipe_read, "pipe read error");
  const auto bytes = static_cast<std::size_t>(count);
  if (m_zero == nullptr) m_zero = find_zero(m_end, m_end + bytes);
  m_end += bytes;
  m_at_end = bytes == 0;
  return bytes != 0;
}

// Makes a line of the bytes before `end`: up to the first zero byte, without the last character.
void PopenRead::take_line(const char* end) {
  const bool has_zero = m_zero != nullptr && m_zero < end;
  const bool begins_with_zero = has_zero && m_zero == m_begin;
  const bool has_line_end = end[-1] == '\n';
  const bool is_cut = begins_with_zero ? !has_line_end : has_zero || !has_line_end;
  if (is_cut && !m_at_end) {
    throw Cr_ErrnoException(k_status_buffer_too_small, "pipe buffer is too small");
  }
  const char* const text_end = has_zero ? m_zero : end;
  if (text_end != m_begin) m_line = {m_begin, static_cast<std::size_t>(text_end - m_begin) - 1};
  if (has_zero) m_zero = find_zero(end, m_end);
}

int PopenRead::close() {
  std::FILE* stream = m_stream.release();  // no longer open, even if pclose fails
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
