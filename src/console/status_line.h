#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace console {

// Erases the cursor's line.
constexpr std::string_view k_erase_line = "\r\033[K";

// The progress line on the terminal of standard error, replaced again and again and erased at the
// end. console::print and console::write_standard_error write other texts through erase_and_write,
// so that the two never mix.
//
// It is not shown without a terminal, on a "dumb" or unknown one, or while the process is in the
// background. It never waits for a terminal that accepts nothing, such as one stopped with Ctrl-S.
//
// Threads: one object, made and destroyed on the main thread while no other thread prints. Any
//   thread may call the other members. Its lock is the innermost.
// Errors: none; what the terminal does not accept is dropped.
class StatusLine {
 public:
  StatusLine();
  ~StatusLine();
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;

  // Replaces the line with `text`, ASCII without line ends, cut to the terminal's width.
  void show(std::string_view text);

  // Erases the line. False if the terminal does not accept that now.
  bool erase() noexcept;

  // Whether there is an object that can show a line.
  static bool is_in_use();

  // Whether a line may be on the terminal now. A signal handler, which cannot take the lock, then
  // writes k_erase_line before its text.
  static bool may_be_shown();

  // Whether a line is in use and standard output is a terminal too.
  static bool shares_terminal_with_output();

  // Erases the line, and keeps it away while `write` writes `text` to the terminal.
  static void erase_and_write(std::string_view text, const std::function<void()>& write);
};

}  // namespace console
