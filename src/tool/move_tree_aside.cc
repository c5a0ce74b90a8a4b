#include "tool/move_tree_aside.h"

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include "catalog/walk/dirs_iterator.h"
#include "console/run_log.h"
#include "dct/filesystem.h"
#include "dct/report_error.h"
#include "files/storage_layout.h"
#include "record/run_record.h"

namespace fs = boost::filesystem;

namespace {

bool is_link(const fs::path& path) {
  boost::system::error_code error;
  return fs::is_symlink(fs::symlink_status(path, error));
}

bool reject(const std::string& what, const fs::path& path, const std::string& why) {
  dct::report_error("ERROR: the " + what + " directory (" + path.string() + ") " + why + "\n");
  return false;
}

// A link would be renamed instead of the tree. The repair also removes all links below the tree: if the
// walked DSID is one, everything that it repairs.
bool has_no_link(const std::string& what, const fs::path& path) {
  if (is_link(path)) return reject(what, path, "is a symbolic link");
  if (!dct::filesystem::exists(path)) return true;
  if (!fs::is_directory(path)) return reject(what, path, "is not a directory");
  for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
    const fs::path& dsid = entry.path();
    if (catalog::is_walked_dsid(dsid.filename().string()) && is_link(dsid)) {
      return reject("DSID", dsid, "is a symbolic link");
    }
  }
  return true;
}

void move_tree(const fs::path& from, const fs::path& to) {
  fs::rename(from, to);
  InfoA("moved the catalog from " + from.string() + " to " + to.string());
}

}  // namespace

bool tree_is_there(const StoragePaths& storage) {
  if (dct::filesystem::exists(storage.tree)) return true;
  dct::report_error("ERROR: The Tavrin Deduplication Catalog directory (" + storage.tree.string() +
                    ") does not exist.\n");
  if (tree_is_aside(storage)) dct::report_error(tree_aside_text(storage));
  return false;
}

bool tree_is_aside(const StoragePaths& storage) {
  return !dct::filesystem::exists(storage.tree) && dct::filesystem::exists(storage.work_dir);
}

std::string tree_aside_text(const StoragePaths& storage, bool services_are_down) {
  return "The repair is not finished: the catalog is at " + storage.work_dir.string() +
         (services_are_down ? ", and the services are down" : "") +
         ". Run the repair again to finish it.\n";
}

bool tree_can_be_moved(const StoragePaths& storage) {
  if (!has_no_link(layout::k_metadata_tree, storage.tree) ||
      !has_no_link("working", storage.work_dir)) {
    return false;
  }
  if (!dct::filesystem::exists(storage.tree) || !dct::filesystem::exists(storage.work_dir)) {
    return true;
  }
  return reject("working", storage.work_dir,
                "exists beside the catalog directory (" + storage.tree.string() + ")");
}

void move_tree_aside(const StoragePaths& storage) {
  move_tree(storage.tree, storage.work_dir);
}

void move_tree_back(const StoragePaths& storage) {
  move_tree(storage.work_dir, storage.tree);
}

void record_tree_aside(const StoragePaths& storage, bool is_aside) {
  record::run_record().note(
      [&](record::Run& run) { run.catalog_aside = is_aside ? storage.work_dir.string() : ""; });
  (void)record::run_record().commit();  // it reports its own failure
}
