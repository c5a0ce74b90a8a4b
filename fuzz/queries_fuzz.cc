#include <cstdlib>

#include "dct/check_pend_imp_list_is_existing.h"
#include "dct/get_disk_pool_name.h"
#include "fuzz/memory_file.h"
#include "platform/status.h"

namespace {

template <class Query>
void ask(const Query& query) {
  try {
    query();
  } catch (const Cr_ErrnoException&) {
    return;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::set_command(data, size, 0);
  ask([] { (void)dct::GetDiskPoolName("/", "media1").name(); });
  ask([size] {
    if (dct::CheckPendImpListIsExisting("/").exists() != (size != 0)) std::abort();
  });
  return 0;
}
