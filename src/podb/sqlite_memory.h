#pragma once

namespace database {

// Makes SQLite keep small freed blocks in lists of each thread. Opening a database and preparing a
// statement allocate and free some 300 blocks, a quarter of a small directory's instructions
// otherwise: the C library caches only a few blocks of each size.
//
// False if SQLite is in use already. Any thread may free a block. A thread keeps at most 8 KiB of
// each size up to 4 KiB, and frees it when it ends.
bool keep_sqlite_blocks();

}  // namespace database
