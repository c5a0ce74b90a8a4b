#pragma once

#include <string>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

namespace dct::filesystem {

// The path's text, which is UTF-8 already.
inline const std::string& as_utf8(const boost::filesystem::path& path) {
  return path.native();
}

// Whether `path`, or what a link there leads to, exists. False if that cannot be determined.
inline bool exists(const boost::filesystem::path& path) {
  boost::system::error_code error;
  return boost::filesystem::exists(path, error);
}

}  // namespace dct::filesystem
