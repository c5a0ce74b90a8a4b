#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace dct {

// Capacity for the lines of the short queries, in bytes.
constexpr std::size_t k_query_line_capacity = 8192;

// A running child command, whose output is read line by line into one buffer.
//
// Threads: one thread.
// Ownership: owns the pipe and the buffer. The destructor closes an open pipe and waits for the child;
//   it does not check how the child ended.
// Errors: Cr_ErrnoException: k_status_buffer_too_small, k_status_pipe_read,
//   k_status_child_did_not_exit, or the system's error of a failed close.
class PopenRead {
 public:
  struct ClosePipe {
    void operator()(std::FILE* stream) const;
  };
  using Stream = std::unique_ptr<std::FILE, ClosePipe>;

  // Reads the output of a started command. A line, with its line end and a zero byte, must fit into
  // `capacity` bytes.
  PopenRead(std::size_t capacity, Stream stream);
  ~PopenRead() = default;
  PopenRead(const PopenRead&) = delete;
  PopenRead& operator=(const PopenRead&) = delete;

  // Starts `command` through the shell. Other children do not inherit the pipe: they would keep it
  // open after the command's end.
  // Errors: Cr_ErrnoException "popen failed".
  static Stream start(const std::string& command);

  // Reads the next line; false at the end of the output. Drops the last character even if it is no
  // line end: the readers of the product's listings rely on that. A line that starts with a zero byte
  // is empty.
  bool read_line();

  // The last line that was read, valid until the next read; empty at the end of the output.
  std::string_view line() const { return m_line; }

  // Whether the output was read to its end.
  bool at_end() const { return m_at_end; }

  // Closes the pipe, waits for the child and returns its exit code; 0 if SIGPIPE ended the child
  // because the output was not read to its end.
  int close();

  // The same for a command whose exit code is no error; the run log notes it. A child that a signal
  // ended is an error, also if the shell reports it as 128 + signal.
  void close_query();

 private:
  const char* find_line_end();
  bool read_more();
  void take_line(const char* end);

  const std::size_t m_capacity;
  std::unique_ptr<char[]> m_buffer;
  Stream m_stream;  // null once closed; read through its descriptor, not through its own buffer
  char* m_begin;    // of what was read and not returned yet
  char* m_end;
  const char* m_zero = nullptr;  // the first zero byte in that range; null if there is none
  std::string_view m_line;
  bool m_at_end = false;
};

}  // namespace dct
