#pragma once

#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/iterator/iterator_facade.hpp>
#include <boost/scoped_ptr.hpp>

#include "tvr_utils/tvr_image.h"

// The images of the backup catalog in one disk pool, listed by the product's `tvimagequery`. An
// iterator at its end equals a default-constructed one.
//
// Threads: one thread; different iterators may run in parallel, each with its own child.
// Ownership: owns the running command; not copyable.
// Errors: constructors and increments throw Cr_ErrnoException for a command that cannot be started,
//   fails or prints no valid listing, and boost::bad_lexical_cast for a field that is no number. The
//   increment that reaches the end of a failed listing always throws.
class TVRImageIterator : public boost::iterator_facade<TVRImageIterator, const TVRImage,
                                                       boost::forward_traversal_tag> {
 public:
  // The end.
  TVRImageIterator();

  // Every image of the last `hours_ago` hours.
  TVRImageIterator(const boost::filesystem::path& admincmd_dir, const std::string& disk_pool,
                   unsigned long hours_ago);

  // Those of one client and policy. Cr_ErrnoException, k_status_malformed, before the command starts,
  // for a name that the shell would not pass on unchanged.
  TVRImageIterator(const boost::filesystem::path& admincmd_dir, const std::string& disk_pool,
                   const std::string& client, const std::string& policy, unsigned long hours_ago);

  ~TVRImageIterator();
  TVRImageIterator(const TVRImageIterator&) = delete;
  TVRImageIterator& operator=(const TVRImageIterator&) = delete;

  // boost::iterator_facade compares only iterators that can be copied.
  friend bool operator==(const TVRImageIterator& a, const TVRImageIterator& b) {
    return a.equal(b);
  }
  friend bool operator!=(const TVRImageIterator& a, const TVRImageIterator& b) {
    return !a.equal(b);
  }

 private:
  friend class boost::iterator_core_access;
  class PopenImageReader;

  const TVRImage& dereference() const;
  bool equal(const TVRImageIterator& other) const;
  void increment();

  const boost::scoped_ptr<PopenImageReader> m_reader;
};
