#include "dct/queries.h"

#include <array>

#include <boost/algorithm/string/predicate.hpp>

#include "text/split.h"

namespace dct {

namespace {

constexpr std::size_t k_disk_pool_field = 1;
constexpr std::size_t k_storage_server_field = 11;
constexpr std::size_t k_fields = 12;

}  // namespace

GetDiskPoolName::GetDiskPoolName(const boost::filesystem::path& admincmd_dir,
                                 const std::string& host_name)
    : m_pipe(k_query_line_capacity, PopenRead::start((admincmd_dir / "tvdevinfo").string() +
                                                     " -listdp -stype Kestrel -l")) {
  parse_stream(host_name);
  m_pipe.close_query();
}

// Compares a prefix: the storage server may be registered under a longer form of the host's name.
void GetDiskPoolName::parse_stream(const std::string& host_name) {
  std::array<std::string_view, k_fields> fields;
  while (m_pipe.read_line()) {
    if (::util::split<' '>(m_pipe.line(), ::util::Separators::runs, fields) < k_fields) continue;
    if (boost::algorithm::istarts_with(fields[k_storage_server_field], host_name)) {
      m_name = fields[k_disk_pool_field];
      return;
    }
  }
}

CheckPendImpListIsExisting::CheckPendImpListIsExisting(const boost::filesystem::path& admincmd_dir)
    : m_pipe(k_query_line_capacity,
             PopenRead::start((admincmd_dir / "tvlifecycle").string() + " pendimplist")) {
  parse_stream();
  m_pipe.close_query();
}

void CheckPendImpListIsExisting::parse_stream() {
  m_exists = m_pipe.read_line();
}

}  // namespace dct
