#include "tool/catalog_aside.h"

#include "dct/filesystem.h"
#include "dct/report_error.h"
#include "tool/storage_paths.h"

bool catalog_is_aside(const StoragePaths& storage) {
  return !dct::filesystem::exists(storage.catalog) && dct::filesystem::exists(storage.work_dir);
}

bool catalog_is_there(const StoragePaths& storage) {
  if (dct::filesystem::exists(storage.catalog)) return true;
  dct::report_error("ERROR: The Tavrin Deduplication Catalog directory (" +
                    storage.catalog.string() + ") does not exist.\n");
  if (catalog_is_aside(storage)) dct::report_error(catalog_aside_text(storage));
  return false;
}

std::string catalog_aside_text(const StoragePaths& storage, bool services_are_down) {
  return "The repair is not finished: the catalog is at " + storage.work_dir.string() +
         (services_are_down ? ", and the services are down" : "") +
         ". Run the repair again to finish it.\n";
}
