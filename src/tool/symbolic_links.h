#pragma once

#include <vector>

#include <boost/filesystem/path.hpp>

// The symbolic links below a directory, which a repair removes.
//
// Threads: one thread.

// What a search for them found.
struct SymbolicLinks {
  std::vector<boost::filesystem::path> noted;  // below the catalog
  bool may_be_more = false;                    // it could not look everywhere, or not note all
};

// Finds those of a catalog and writes each with its target to the run log: where it leads cannot be
// found out any more once it is removed. A part of the tree that cannot be read is reported on
// standard error and left out; nothing can remove a link there either.
// Errors: filesystem_error when a directory that the walk opens, or a link's target, cannot be read;
//   Cr_ErrnoException when what was found could be written nowhere.
SymbolicLinks note_symbolic_links(const boost::filesystem::path& catalog);

// Removes all that are below `dir`, and reports on standard error which of those noted are still there.
void remove_symbolic_links(const boost::filesystem::path& dir, const SymbolicLinks& links);

// Whether one of those noted is gone from `dir`.
bool any_link_is_gone(const boost::filesystem::path& dir, const SymbolicLinks& links);
