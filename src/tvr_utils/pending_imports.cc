#include "tvr_utils/pending_imports.h"

#include "dct/check_pend_imp_list_is_existing.h"

namespace tvr_utils {

bool CheckPendImpListIsExisting(const boost::filesystem::path& admincmd_dir) {
  return dct::CheckPendImpListIsExisting(admincmd_dir).exists();
}

}  // namespace tvr_utils
