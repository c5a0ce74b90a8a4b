#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace console {

// What takes away the line that the cursor stands in.
constexpr std::string_view k_erase_line = "\r\033[K";

// The line at the bottom of the terminal that standard error is, which is replaced again and again
// and leaves nothing behind. All other output of the process to a terminal goes by make_way, which
// console::write_standard_error and console::print see to, so that the two never mix.
//
// It never stands where it does not belong: not without a terminal, not on one that is "dumb" or of
// which nothing is known, not while the process is in the background. It never waits for a terminal
// that takes nothing, as one that the user stopped with Ctrl-S.
//
// Threads: made and destroyed on the main thread while no other tells or prints anything; one at a
//   time. The other members may be called from any thread. Its lock is the innermost of all.
// Errors: none; what the terminal does not take is dropped.
class StatusLine {
 public:
  StatusLine();
  ~StatusLine();
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;

  // Puts the text where the last one was, cut to the width of the terminal. `text` is of ASCII
  // without line ends.
  void show(std::string_view text);

  // Takes the line away. Whether it is gone: a terminal that takes nothing now keeps it.
  bool erase() noexcept;

  // Whether one is there to be shown.
  static bool is_in_use();

  // Whether the line may stand on the terminal now. For a signal handler, which cannot wait for its
  // turn: it writes k_erase_line in front of its own text.
  static bool may_be_shown();

  // The same, and standard output is a terminal too.
  static bool is_in_use_beside_output();

  // Takes the line away, and keeps it away while `write` writes `text` to the terminal.
  static void make_way(std::string_view text, const std::function<void()>& write);
};

}  // namespace console
