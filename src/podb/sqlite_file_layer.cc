#include "podb/sqlite_file_layer.h"

#include <cstddef>
#include <cstring>

#include <sqlite3.h>

namespace database {

namespace {

constexpr const char* k_name = "without links";

int take_as_full_name(sqlite3_vfs* /*layer*/, const char* path, int capacity, char* full) {
  const std::size_t length = std::strlen(path);
  if (path[0] != '/' || length >= static_cast<std::size_t>(capacity)) {
    sqlite3_vfs* const usual = sqlite3_vfs_find(nullptr);
    return usual->xFullPathname(usual, path, capacity, full);
  }
  std::memcpy(full, path, length + 1);
  return SQLITE_OK;
}

const char* add_layer() {
  const sqlite3_vfs* const usual = sqlite3_vfs_find(nullptr);
  if (usual == nullptr) return nullptr;
  static sqlite3_vfs layer = *usual;
  layer.zName = k_name;
  layer.xFullPathname = &take_as_full_name;
  return sqlite3_vfs_register(&layer, 0) == SQLITE_OK ? k_name : nullptr;
}

}  // namespace

const char* file_layer_without_links() {
  static const char* const name = add_layer();
  return name;
}

}  // namespace database
