#pragma once

#include <string>

namespace files {

// What is at a path.
enum class FileKind {
  none,
  regular,
  special,       // a directory; or a pipe or device, which could block
  out_of_reach,  // exists, but stat fails: a dangling link, for example
};

// Follows links.
FileKind file_kind(const std::string& path);

}  // namespace files
