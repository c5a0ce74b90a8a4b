#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace dct {

// Buffer for the output lines of the short queries, in bytes.
constexpr std::size_t k_query_line_capacity = 8192;

// A running child command and its output, read line by line into one buffer.
//
// Threads: one thread.
// Ownership: owns the stream and the buffers. A reader that is destroyed with its pipe open closes
//   it without looking at how the child ended.
// Errors: Cr_ErrnoException: k_status_buffer_too_small, k_status_pipe_read, the system's error for
//   a failed close, k_status_child_did_not_exit.
class PopenRead {
 public:
  // Closes the pipe without looking at how the child ended; whoever wants to know calls close.
  struct ClosePipe {
    void operator()(std::FILE* stream) const;
  };
  using Stream = std::unique_ptr<std::FILE, ClosePipe>;

  // Reads the output of a started command; lines, with their line end and a zero byte, must fit into
  // `capacity` bytes.
  PopenRead(std::size_t capacity, Stream stream);
  ~PopenRead() = default;
  PopenRead(const PopenRead&) = delete;
  PopenRead& operator=(const PopenRead&) = delete;

  // Starts `command` through the shell. The pipe is not handed on to other children, which would
  // keep it open beyond the command's end.
  // Errors: Cr_ErrnoException "popen failed".
  static Stream start(const std::string& command);

  // Reads the next line; false at the end of the output. The last character is dropped, line end or
  // not: what reads the product's listings relies on it. A line that starts with a zero byte is
  // empty.
  bool read_line();

  // The line read last, valid until the next read; empty at the end of the output.
  std::string_view line() const { return m_line; }

  // Whether the output has been read to its end.
  bool at_end() const { return m_at_end; }

  // Closes the pipe, waits for the child and returns its exit code. A child that SIGPIPE ended
  // because we stopped reading has done nothing wrong: 0 then.
  int close();

  // The same for a command whose exit code says nothing (the run log is told of it): only a child
  // that a signal ended is an error, also where the shell reports it, as 128 + signal.
  void close_query();

 private:
  const char* find_line_end();
  bool read_more();
  void take_line(const char* end);

  const std::size_t m_capacity;
  std::unique_ptr<char[]> m_buffer;
  Stream m_stream;  // null once closed; read past its own buffer
  char* m_begin;    // of what was read and not handed out
  char* m_end;
  const char* m_zero = nullptr;  // the first zero byte there; null if there is none
  std::string_view m_line;
  bool m_at_end = false;
};

}  // namespace dct
