#pragma once

namespace database {

// Lets SQLite keep small blocks that it frees for their next use, in lists of each thread. Opening a
// database and preparing a statement take and free some 300 blocks, which cost a quarter of the
// instructions of a small directory otherwise: the C library keeps only a few of each size at hand.
//
// Threads: to be called before SQLite is used. A block may be freed by another thread than the one that
//   took it. What a thread keeps, at most 8 KiB of each size up to 4 KiB, is freed with the thread.
// Returns whether SQLite agreed; it refuses once it is in use.
bool keep_sqlite_blocks();

}  // namespace database
