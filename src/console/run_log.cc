#include "console/run_log.h"

#include <memory>
#include <mutex>
#include <string>

#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>

#include "console/standard_streams.h"
#include "files/append_file.h"
#include "text/one_line.h"

namespace {

// The library's own file sink drops a line that it cannot write, and does not set the file's mode.
class AppendFileSink : public spdlog::sinks::base_sink<std::mutex> {
 public:
  explicit AppendFileSink(const std::string& path) : m_file(path) {}

 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    const std::string_view text(line.data(), line.size());
    if (!m_file.append(text)) console::write_or_lose(text);
  }
  void flush_() override {}

 private:
  files::AppendFile m_file;
};

std::shared_ptr<spdlog::logger>& run_log() {
  static std::shared_ptr<spdlog::logger> log;
  return log;
}

MessageListener s_listener = nullptr;

// Replaces the control characters of ASCII, and those of UTF-8 after them.
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

void write(spdlog::level::level_enum level, std::string_view text) {
  const std::string line = util::on_one_line(text);
  if (run_log()) run_log()->log(level, line);
  if (s_listener != nullptr && level != spdlog::level::info) {
    s_listener(level == spdlog::level::warn, line);
  }
}

}  // namespace

void dctLogSetA(const char* path) {
  auto sink = std::make_shared<AppendFileSink>(path);
  auto log = std::make_shared<spdlog::logger>("mdfixup", std::move(sink));
  log->set_pattern("%Y-%m-%d %H:%M:%S.%e %l pid=%P thread=%t %v");
  run_log() = std::move(log);
}

void listen_to_run_log(MessageListener listener) {
  s_listener = listener;
}

void InfoA(std::string_view text) {
  write(spdlog::level::info, text);
}
// An operator at a terminal does not read the log during the run. Names come from databases that
// are not trusted, and must not control the terminal.
void WarningA(std::string_view text) {
  if (!run_log()) return;
  write(spdlog::level::warn, text);
  console::write_terminal("WARNING: " + without_controls(util::on_one_line(text)) + "\n");
}
void ErrorA(std::string_view text) {
  write(spdlog::level::err, text);
}
