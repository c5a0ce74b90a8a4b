#pragma once

#include <string>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

namespace dct::filesystem {

// The path's text, which is UTF-8 already.
inline const std::string& as_utf8(const boost::filesystem::path& path) {
  return path.native();
}

// Whether anything is at `path`, links followed; what cannot be looked at does not exist.
inline bool exists(const boost::filesystem::path& path) {
  boost::system::error_code error;
  return boost::filesystem::exists(boost::filesystem::status(path, error));
}

}  // namespace dct::filesystem
