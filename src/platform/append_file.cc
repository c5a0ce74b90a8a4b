#include "platform/append_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/status.h"
#include "platform/write_all.h"

namespace platform {

namespace {

constexpr mode_t k_log_file_mode = 0640;

// Takes back the start of a text that did not fit, so that no torn line is left behind.
void take_back(int descriptor, std::size_t written) {
  if (written == 0) return;  // the offset does not tell the end of the file before the first write
  const int saved_errno = errno;
  const off_t end = ::lseek(descriptor, 0, SEEK_CUR);
  if (end >= static_cast<off_t>(written)) {
    // A device or a pipe cannot be cut; the caller reports the text elsewhere either way. Where the C
    // library checks its callers, it does not take (void) for a reason.
    [[maybe_unused]] const int cut = ::ftruncate(descriptor, end - static_cast<off_t>(written));
  }
  errno = saved_errno;
}

}  // namespace

AppendFile::AppendFile(const std::string& path)
    : m_path(path),
      m_descriptor(
          ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, k_log_file_mode)) {
  if (m_descriptor < 0) {
    const int error = errno;
    throw Cr_ErrnoException(error, "could not open the log file " + path, std::strerror(error));
  }
}

AppendFile::~AppendFile() {
  // Every append was checked; nothing is buffered here that closing could lose.
  (void)::close(m_descriptor);
}

bool AppendFile::append(std::string_view text) {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  const std::size_t written = write_all(m_descriptor, text);
  if (written == text.size()) return true;
  take_back(m_descriptor, written);
  return false;
}

}  // namespace platform
