#include "platform/run_log.h"

#include <time.h>
#include <unistd.h>

#include <chrono>
#include <iomanip>
#include <memory>
#include <sstream>
#include <string>

#include "platform/append_file.h"
#include "platform/one_line.h"
#include "platform/reports.h"

namespace {

std::unique_ptr<platform::AppendFile> s_log;

MessageListener s_listener = nullptr;

// ASCII's control characters, and those beyond it in UTF-8.
std::string without_controls(std::string text) {
  char before = 0;
  for (char& c : text) {
    const bool is_control = static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
    const bool is_beyond = before == '\xc2' && static_cast<unsigned char>(c) < 0xa0;
    before = c;
    if (is_control || is_beyond) c = '?';
  }
  return text;
}

// Local time, with milliseconds.
std::string timestamp() {
  using std::chrono::milliseconds;
  constexpr int k_second_milliseconds = 1000;
  const auto since_epoch = std::chrono::system_clock::now().time_since_epoch();
  const auto now = std::chrono::duration_cast<milliseconds>(since_epoch).count();
  const std::time_t seconds = now / k_second_milliseconds;
  struct tm local {};
  (void)::localtime_r(&seconds, &local);
  std::ostringstream text;
  text << std::put_time(&local, "%Y-%m-%d %H:%M:%S.") << std::setw(3) << std::setfill('0')
       << now % k_second_milliseconds;
  return text.str();
}

void write(const char* level, const std::string& line) {
  if (!s_log) return;
  const std::string entry = timestamp() + " " + level + " pid=" + std::to_string(::getpid()) +
                            " thread=" + std::to_string(::gettid()) + " " + line + "\n";
  if (!s_log->append(entry)) platform::tell_or_lose(entry);
}

void write_and_hand_on(bool is_warning, std::string_view text) {
  const std::string line = platform::on_one_line(text);
  write(is_warning ? "warning" : "error", line);
  if (s_listener != nullptr) s_listener(is_warning, line);
}

}  // namespace

void dctLogSetA(const char* path) {
  s_log = std::make_unique<platform::AppendFile>(path);
}

void listen_to_run_log(MessageListener listener) {
  s_listener = listener;
}

void InfoA(std::string_view text) {
  write("info", platform::on_one_line(text));
}
// An operator at a terminal reads no log while the run goes on. Names come from databases that anybody
// may have written to, and must not control the terminal.
void WarningA(std::string_view text) {
  if (!s_log) return;
  write_and_hand_on(true, text);
  platform::tell_terminal("WARNING: " + without_controls(platform::on_one_line(text)) + "\n");
}
void ErrorA(std::string_view text) {
  write_and_hand_on(false, text);
}
