#include "cr/config.h"
#include "fuzz/memory_file.h"

// The input is the registry file and, if it names itself, also the configuration.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string file = fuzz::memory_file(fuzz::text_of(data, size));
  (void)fuzz::succeeds([&] {
    boost::filesystem::path root;
    cr::Config::init_from_ksregistry(file, "StoragePoolAuthority")
        .get(cr::k_storage_section, cr::k_root_dir_entry, root);
  });
  return 0;
}
