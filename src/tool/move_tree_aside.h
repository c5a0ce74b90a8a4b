#pragma once

#include <string>

#include "tool/storage_paths.h"

// The metadata tree's move to the work directory and back: a repair works on it there. If the repair
// fails, the tree stays there until the next repair finishes the work.
//
// Threads: the main thread.

// Whether the tree has its own name. If not, reports it on standard error.
bool tree_is_there(const StoragePaths& storage);

// Whether an unfinished repair left the tree in the work directory.
bool tree_is_aside(const StoragePaths& storage);

// One line that says where the tree is then, and how it gets back.
std::string tree_aside_text(const StoragePaths& storage, bool services_are_down = true);

// Whether a move can rename the tree: no symbolic link is in its way, nor a second tree. If not,
// reports it on standard error.
// Errors: filesystem_error if a directory cannot be read.
bool tree_can_be_moved(const StoragePaths& storage);

// Renames the tree and logs it.
// Errors: filesystem_error if the rename failed.
void move_tree_aside(const StoragePaths& storage);
void move_tree_back(const StoragePaths& storage);

// Notes in the record of the run whether the tree is in the work directory.
void record_tree_aside(const StoragePaths& storage, bool is_aside);
