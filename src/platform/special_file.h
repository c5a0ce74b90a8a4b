#pragma once

#include <string>

namespace platform {

// Whether something is at `path` that is no regular file: a pipe or a device would be waited for or
// read for ever, perhaps. A link counts as what it leads to; what cannot be looked at, as none.
bool is_special_file(const std::string& path);

}  // namespace platform
