#include "tvr_utils/queries.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <list>

#include "dct/queries.h"
#include "status/status.h"

namespace tvr_utils {

namespace {

// An empty form (of a host name that begins with a dot) would match every line.
std::list<std::string> GetHostNameForms(const char* host_name) {
  const std::string full = host_name;
  const std::size_t dot = full.find('.');
  std::list<std::string> forms{full};
  if (dot != std::string::npos) forms.push_back(full.substr(0, dot));
  forms.remove("");
  return forms;
}

}  // namespace

std::string GetDiskPoolLabel(const boost::filesystem::path& admincmd_dir) {
  std::array<char, 512> host_name{};
  // A name that fills the buffer has no zero byte, so the last byte stays zero.
  if (::gethostname(host_name.data(), host_name.size() - 1) != 0) {
    throw Cr_ErrnoException(k_status_host_name,
                            std::string("Could not determine host name, gethostname() failed: ") +
                                std::strerror(errno));
  }
  for (const std::string& form : GetHostNameForms(host_name.data())) {
    const dct::GetDiskPoolName query(admincmd_dir, form);
    if (!query.name().empty()) return query.name();
  }
  return "";
}

bool CheckPendImpListIsExisting(const boost::filesystem::path& admincmd_dir) {
  return dct::CheckPendImpListIsExisting(admincmd_dir).exists();
}

}  // namespace tvr_utils
