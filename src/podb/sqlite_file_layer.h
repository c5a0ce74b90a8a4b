#pragma once

namespace database {

// The name of an SQLite VFS that uses an absolute path as it is. The default VFS resolves links in
// each part of a path, with one system call each, to find the journal beside the real file. Links
// to directories lead to the journal too, so only the file itself must not be a link. SQLite does
// not open a link, even if it has just replaced the file.
//
// Null, which means the default VFS, if SQLite rejects it. Threads: any.
const char* file_layer_without_links();

}  // namespace database
