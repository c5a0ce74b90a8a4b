#include "console/status_line.h"

#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <exception>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "files/write_all.h"

namespace console {

namespace {

std::atomic<bool> s_in_use{false};
static_assert(std::atomic<bool>::is_always_lock_free, "read in a signal handler");
std::atomic<bool> s_output_is_terminal{false};

// The state of the process's terminal.
boost::mutex s_mutex;
bool s_is_shown BOOST_THREAD_GUARDED_BY(s_mutex) = false;
bool s_within_text BOOST_THREAD_GUARDED_BY(s_mutex) = false;  // the last text had no line end

bool can_erase() {
  const char* terminal = ::getenv("TERM");
  return terminal != nullptr && *terminal != '\0' && std::string_view(terminal) != "dumb";
}

// False for a terminal that does not control the process: no shell of it writes there.
bool in_background() {
  const pid_t foreground = ::tcgetpgrp(STDERR_FILENO);
  return foreground > 0 && foreground != ::getpgrp();
}

// One less than the width: some terminals wrap once the last column is filled.
std::size_t usable_columns() {
  constexpr std::size_t k_usual = 80;
  struct winsize size {};
  const bool is_known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
  return (is_known ? size.ws_col : k_usual) - 1;
}

// Cuts at a comma if possible, and marks the cut: half a number must not look like a number.
std::string fitting(std::string_view text, std::size_t columns) {
  constexpr std::string_view k_mark = "...";
  constexpr std::string_view k_between = ", ";
  if (text.size() <= columns) return std::string(text);
  const std::string_view mark = k_mark.substr(0, columns);
  const std::size_t room = columns - mark.size();
  const std::size_t end = text.substr(0, room).rfind(k_between);
  const std::size_t kept = end == std::string_view::npos ? room : end + k_between.size();
  return std::string(text.substr(0, kept)).append(mark);
}

// In the background, the shell has written after the line; erasing would remove the shell's text.
void erase_shown() BOOST_THREAD_REQUIRES(s_mutex) {
  if (!s_is_shown) return;
  if (!in_background()) (void)files::write_all(STDERR_FILENO, k_erase_line);
  s_is_shown = false;
}

}  // namespace

StatusLine::StatusLine() {
  const bool is_possible = ::isatty(STDERR_FILENO) == 1 && can_erase();
  s_output_is_terminal = is_possible && ::isatty(STDOUT_FILENO) == 1;
  s_in_use = is_possible;
}

// A stopped terminal keeps the line; the next text erases it.
StatusLine::~StatusLine() {
  if (!erase()) return;
  s_in_use = false;
  s_output_is_terminal = false;
}

void StatusLine::show(std::string_view text) {
  if (!is_in_use()) return;
  const boost::lock_guard<boost::mutex> guard(s_mutex);
  if (s_within_text || in_background() || !files::takes_output(STDERR_FILENO)) return;
  const std::string line = "\r" + fitting(text, usable_columns()) + "\033[K";
  s_is_shown = true;
  (void)files::write_all(STDERR_FILENO, line);
}

bool StatusLine::erase() noexcept {
  if (!is_in_use()) return true;
  try {
    const boost::lock_guard<boost::mutex> guard(s_mutex);
    if (s_is_shown && files::takes_output(STDERR_FILENO)) erase_shown();
    return !s_is_shown;
  } catch (const std::exception&) {
    return false;  // without the lock the line stays
  }
}

bool StatusLine::is_in_use() {
  return s_in_use;
}

bool StatusLine::may_be_shown() {
  return is_in_use() && !in_background();
}

bool StatusLine::shares_terminal_with_output() {
  return s_output_is_terminal;
}

void StatusLine::erase_and_write(std::string_view text, const std::function<void()>& write) {
  const boost::lock_guard<boost::mutex> guard(s_mutex);
  erase_shown();
  write();
  if (!text.empty()) s_within_text = text.back() != '\n';
}

}  // namespace console
