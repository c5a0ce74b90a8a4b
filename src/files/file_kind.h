#pragma once

#include <string>

namespace files {

// What is at a path.
enum class FileKind {
  none,
  regular,
  special,       // a pipe or a device, which would be waited for or read for ever, or a directory
  out_of_reach,  // something that cannot be looked at, which is not the same as nothing: a link that
                 // leads nowhere, for one
};

// A link counts as what it leads to.
FileKind file_kind(const std::string& path);

}  // namespace files
