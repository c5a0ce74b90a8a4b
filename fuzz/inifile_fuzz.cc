#include "cr/config.h"
#include "cr/inifile.h"
#include "fuzz/memory_file.h"
#include "platform/status.h"

// The input is both the registry file and, where it names itself, the configuration.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::MemoryFile file(data, size);
  try {
    (void)cr::Inifile(file.path()).get_path("StoragePoolAuthority", "ConfigFilePath");
    boost::filesystem::path root;
    cr::Config::init_from_ksregistry(file.path(), "StoragePoolAuthority")
        .get(cr::k_storage_section, cr::k_root_dir_entry, root);
  } catch (const Cr_ErrnoException&) {
    return 0;
  }
  return 0;
}
