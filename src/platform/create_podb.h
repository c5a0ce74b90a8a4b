#pragma once

#include <string>

namespace platform {

// Makes an empty path-object database at `file`, in a directory that exists. It is made whole under
// a temporary name beside it and then takes its own: a crash leaves either none or a whole one.
// Another database that appeared at `file` in the meantime is left as it is.
//
// Threads: not two calls for one file at once.
// Errors: Cr_ErrnoException, naming the file; nothing is left at `file` then.
void create_podb(const std::string& file);

}  // namespace platform
