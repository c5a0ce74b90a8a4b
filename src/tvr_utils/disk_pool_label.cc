#include "tvr_utils/disk_pool_label.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <list>

#include "dct/get_disk_pool_name.h"
#include "status/status.h"

namespace tvr_utils {

namespace {

// An empty form (a host name that begins with a dot) would match every line; it is left out.
std::list<std::string> GetHostNameForms(const char* host_name) {
  const std::string full = host_name;
  const std::size_t dot = full.find('.');
  std::list<std::string> forms{full};
  if (dot != std::string::npos) forms.push_back(full.substr(0, dot));
  forms.remove("");
  return forms;
}

std::string host_name() {
  std::array<char, 512> buffer{};
  // One byte is kept back: a name that fills the buffer comes without its zero byte.
  if (::gethostname(buffer.data(), buffer.size() - 1) != 0) {
    throw Cr_ErrnoException(k_status_host_name,
                            std::string("Could not determine host name, gethostname() failed: ") +
                                std::strerror(errno));
  }
  return buffer.data();
}

}  // namespace

std::string GetDiskPoolLabel(const boost::filesystem::path& admincmd_dir) {
  for (const std::string& form : GetHostNameForms(host_name().c_str())) {
    const dct::GetDiskPoolName query(admincmd_dir, form);
    if (!query.name().empty()) return query.name();
  }
  return "";
}

}  // namespace tvr_utils
