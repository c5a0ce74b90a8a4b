#pragma once

#include <boost/filesystem/path.hpp>

// The directories of the configured storage.
struct StoragePaths {
  boost::filesystem::path root;
  boost::filesystem::path tree;      // the metadata tree
  boost::filesystem::path work_dir;  // the metadata tree during a repair
  boost::filesystem::path log_dir;
};
