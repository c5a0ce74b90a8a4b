#include "files/append_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "files/write_all.h"
#include "status/status.h"

namespace files {

namespace {

constexpr mode_t k_log_file_mode = 0640;

[[noreturn]] void refuse(const std::string& path, int error, const std::string& why) {
  throw Cr_ErrnoException(error, "could not open the log file " + path, why);
}

[[noreturn]] void refuse_kind(const std::string& path) {
  refuse(path, EINVAL, "is neither a regular file nor a character device");
}

bool can_be_a_log(int descriptor) {
  struct stat info {};
  return ::fstat(descriptor, &info) == 0 && (S_ISREG(info.st_mode) || S_ISCHR(info.st_mode));
}

// A pipe could block, in open and in each write that fills it.
int open_log(const std::string& path) {
  const int descriptor =
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
             k_log_file_mode);
  if (descriptor < 0) {
    if (errno == ENXIO) refuse_kind(path);  // a pipe without a reader, or a socket
    refuse(path, errno, std::strerror(errno));
  }
  if (!can_be_a_log(descriptor)) {
    (void)::close(descriptor);  // nothing was written
    refuse_kind(path);
  }
  // Writes to a slow device may wait; only open must not.
  (void)::fcntl(descriptor, F_SETFL, O_APPEND);
  return descriptor;
}

// Removes the start of a text that did not fit, so that no partial line stays.
void take_back(int descriptor, std::size_t written) {
  if (written == 0) return;  // before the first write the offset is not the end of the file
  const int saved_errno = errno;
  const off_t end = ::lseek(descriptor, 0, SEEK_CUR);
  if (end >= static_cast<off_t>(written)) {
    // A device cannot be cut; the caller reports the text elsewhere in any case. (void) would not
    // silence the C library's warning.
    [[maybe_unused]] const int cut = ::ftruncate(descriptor, end - static_cast<off_t>(written));
  }
  errno = saved_errno;
}

}  // namespace

AppendFile::AppendFile(const std::string& path) : m_path(path), m_descriptor(open_log(path)) {}

AppendFile::~AppendFile() {
  (void)::close(m_descriptor);  // nothing is buffered, and every append was checked
}

bool AppendFile::append(std::string_view text) {
  const boost::lock_guard<boost::mutex> guard(m_mutex);
  const std::size_t written = write_all(m_descriptor, text);
  if (written == text.size()) return true;
  take_back(m_descriptor, written);
  return false;
}

}  // namespace files
