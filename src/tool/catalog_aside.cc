#include "tool/catalog_aside.h"

#include "dct/filesystem.h"
#include "tool/storage_paths.h"

bool catalog_is_aside(const StoragePaths& storage) {
  return !dct::filesystem::exists(storage.catalog) && dct::filesystem::exists(storage.work_dir);
}

std::string catalog_aside_text(const StoragePaths& storage, bool services_are_down) {
  return "The repair is not finished: the catalog is at " + storage.work_dir.string() +
         (services_are_down ? ", and the services are down" : "") +
         ". Run the repair again to finish it.\n";
}
