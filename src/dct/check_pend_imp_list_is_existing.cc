#include "dct/check_pend_imp_list_is_existing.h"

namespace dct {

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
