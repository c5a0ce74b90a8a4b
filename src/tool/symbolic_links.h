#pragma once

#include <vector>

#include <boost/filesystem/path.hpp>

// The symbolic links below a directory, which a repair removes.
//
// Threads: one thread.

// Finds those of a catalog and writes each with its target to the run log: where it leads cannot be
// found out any more once it is removed. A part of the tree that cannot be read is reported on
// standard error and left out; nothing can remove a link there either. Returns their paths below
// `catalog`.
// Errors: filesystem_error when a directory that the walk opens, or a link's target, cannot be read;
//   Cr_ErrnoException when what was found could be written nowhere.
std::vector<boost::filesystem::path> note_symbolic_links(const boost::filesystem::path& catalog);

// Removes all that are below `dir`, and reports on standard error which of `noted` are still there.
void remove_symbolic_links(const boost::filesystem::path& dir,
                           const std::vector<boost::filesystem::path>& noted);

// Whether one of `noted`, paths below `dir`, is gone.
bool any_link_is_gone(const boost::filesystem::path& dir,
                      const std::vector<boost::filesystem::path>& noted);
