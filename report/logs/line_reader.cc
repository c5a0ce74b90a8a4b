#include "report/logs/line_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace report::logs {

namespace {

class Descriptor {
 public:
  explicit Descriptor(const std::string& path)
      // What is no regular file might keep us waiting.
      : m_number(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  ~Descriptor() {
    if (m_number >= 0) (void)::close(m_number);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int number() const { return m_number; }

 private:
  const int m_number;
};

std::string why_not(int descriptor) {
  struct stat status {};
  if (descriptor < 0 || ::fstat(descriptor, &status) != 0) return std::strerror(errno);
  return S_ISREG(status.st_mode) ? "" : "is no regular file";
}

// Puts lines together from what is read piece by piece.
class LineBuilder {
 public:
  LineBuilder(SourceFile& file, const std::function<bool(std::string_view)>& take)
      : m_file(file), m_take(take) {}

  void add(std::string_view piece) {
    while (!piece.empty()) {
      const std::size_t end = piece.find('\n');
      keep(piece.substr(0, end));
      if (end == std::string_view::npos) return;
      hand_on();
      piece.remove_prefix(end + 1);
    }
  }

  // The repair ends a line with the full stop behind it, which may be the last of its log.
  bool is_cut() const { return !m_line.empty() && m_line != "."; }

 private:
  void keep(std::string_view text) {
    constexpr std::size_t k_longest = 65536;
    m_line += text.substr(0, k_longest - std::min(k_longest, m_line.size()));
  }

  void hand_on() {
    ++m_file.lines;
    if (!m_take(m_line) && m_file.strange++ == 0) m_file.first_strange = m_file.lines;
    m_line.clear();
  }

  SourceFile& m_file;
  const std::function<bool(std::string_view)>& m_take;
  std::string m_line;
};

}  // namespace

SourceFile for_each_line(const std::string& path,
                         const std::function<bool(std::string_view)>& take) {
  SourceFile file;
  file.path = path;
  const Descriptor descriptor(path);
  file.error = why_not(descriptor.number());
  if (!file.error.empty()) return file;
  LineBuilder lines(file, take);
  std::array<char, 65536> buffer{};
  for (;;) {
    const ssize_t count = ::read(descriptor.number(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) file.error = std::strerror(errno);
    if (count <= 0) break;
    lines.add(std::string_view(buffer.data(), static_cast<std::size_t>(count)));
  }
  file.cut = lines.is_cut();
  return file;
}

}  // namespace report::logs
