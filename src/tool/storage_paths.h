#pragma once

#include <boost/filesystem/path.hpp>

// Where the storage at hand keeps its parts.
struct StoragePaths {
  boost::filesystem::path root;
  boost::filesystem::path catalog;
  boost::filesystem::path work_dir;  // the catalog while it is repaired
  boost::filesystem::path log_dir;
};
