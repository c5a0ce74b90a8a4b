#include "report/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <boost/filesystem/operations.hpp>

#include "platform/file_kind.h"
#include "platform/status.h"
#include "platform/write_all.h"

namespace report {

namespace {

[[noreturn]] void fail(const std::string& path) {
  const int error = errno;
  throw Cr_ErrnoException(error, "could not write " + path, std::strerror(error));
}

// Closes what it wrote; false, with errno, when a step failed.
bool write_to(const std::string& path, int flags, bool is_stored, std::string_view text) {
  constexpr mode_t k_mode = 0640;
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | flags, k_mode);
  if (descriptor < 0) return false;
  const bool written = platform::write_all(descriptor, text) == text.size() &&
                       (!is_stored || ::fsync(descriptor) == 0);
  const int error = errno;
  const bool closed = ::close(descriptor) == 0;
  if (!written) errno = error;
  return written && closed;
}

// A link stays, and what it leads to is replaced.
std::string place_of(const std::string& path) {
  boost::system::error_code error;
  const auto place = boost::filesystem::canonical(path, error);
  return error ? path : place.string();
}

}  // namespace

void store(const std::string& path, std::string_view text) {
  if (platform::file_kind(path) == platform::FileKind::special) {
    if (!write_to(path, 0, false, text)) fail(path);
    return;
  }
  const std::string place = place_of(path);
  const std::string unfinished = place + "." + std::to_string(::getpid()) + ".new";
  const bool done = write_to(unfinished, O_CREAT | O_EXCL, true, text) &&
                    std::rename(unfinished.c_str(), place.c_str()) == 0;
  if (done) return;
  const int error = errno;
  if (error != EEXIST) (void)::unlink(unfinished.c_str());
  errno = error;
  fail(path);
}

}  // namespace report
