#pragma once

#include <vector>

#include <boost/filesystem/path.hpp>

// The symbolic links below a directory, which a repair removes.
//
// Threads: one thread.

// The result of a search.
struct SymbolicLinks {
  std::vector<boost::filesystem::path> noted;  // relative to the tree
  bool may_be_more = false;  // it could not read all directories, or not note all links
};

// Finds the links of a metadata tree, and notes each with its target in the run log and in the record:
// once a link is removed, its target is unknown. Reports a part of the tree that cannot be read on
// standard error and skips it; no link there can be removed either.
// Errors: filesystem_error if a directory that the walk opens, or a link's target, cannot be read;
//   Cr_ErrnoException if a link could be noted nowhere.
SymbolicLinks note_symbolic_links(const boost::filesystem::path& tree);

// Removes all links below `tree`. Reports noted links that are still there on standard error.
void remove_symbolic_links(const boost::filesystem::path& tree, const SymbolicLinks& links);

// Whether one of the noted links is gone.
bool any_link_is_gone(const boost::filesystem::path& tree, const SymbolicLinks& links);
