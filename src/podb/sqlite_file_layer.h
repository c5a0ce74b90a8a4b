#pragma once

namespace database {

// The name of a layer (VFS) for SQLite that takes an absolute path as the full name of a file. The usual
// one follows links in every part of the path, with a system call for each, because the journal of a
// database lies beside the file, not beside a link to it. Links to directories do no harm: they lead to
// the journal as well. So the file itself must not be a link. SQLite does not open one, even if it has
// replaced the file a moment ago.
//
// Threads: may be called from any thread. Null, which stands for the usual one, where SQLite refuses it.
const char* file_layer_without_links();

}  // namespace database
