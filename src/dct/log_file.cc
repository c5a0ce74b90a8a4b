#include "dct/log_file.h"

#include <cerrno>
#include <cstring>

#include "console/run_log.h"
#include "console/standard_streams.h"

namespace dct::util {

LogFile::LogFile(const boost::filesystem::path& path) : m_file(path.string()) {}

void LogFile::write(const std::string& text) {
  if (m_file.append(text)) return;
  const int error = errno;
  if (!m_failed.exchange(true))
    ErrorA("could not write to " + path() + ": " + std::strerror(error));
  console::write_or_lose(text);
}

void make_LogFile(const boost::filesystem::path& path, boost::shared_ptr<LogFile>& out) {
  out.reset(new LogFile(path));
}

}  // namespace dct::util
