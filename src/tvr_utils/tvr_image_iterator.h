#pragma once

#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/iterator/iterator_facade.hpp>
#include <boost/scoped_ptr.hpp>

#include "tvr_utils/tvr_image.h"

// The images that the backup catalog holds in one disk pool, listed by the product's
// `tvimagequery`. An iterator that has run to its end equals a default-constructed one.
//
// Threads: one thread; several iterators may work side by side, each with its own child.
// Ownership: owns the running command; not copyable.
// Errors: constructors and increments throw Cr_ErrnoException for a command that cannot be started,
//   fails or prints what is no listing, and boost::bad_lexical_cast for a field that is no number.
//   A listing that failed never ends quietly: the increment that reaches its end throws.
class TVRImageIterator : public boost::iterator_facade<TVRImageIterator, const TVRImage,
                                                       boost::forward_traversal_tag> {
 public:
  // The end.
  TVRImageIterator();

  // Every image of the last `hours_ago` hours.
  TVRImageIterator(const boost::filesystem::path& admincmd_dir, const std::string& disk_pool,
                   unsigned long hours_ago);

  // Those of one client and policy. A name that the shell would not pass on as it stands is refused
  // before the command starts: Cr_ErrnoException, k_status_malformed.
  TVRImageIterator(const boost::filesystem::path& admincmd_dir, const std::string& disk_pool,
                   const std::string& client, const std::string& policy, unsigned long hours_ago);

  ~TVRImageIterator();
  TVRImageIterator(const TVRImageIterator&) = delete;
  TVRImageIterator& operator=(const TVRImageIterator&) = delete;

  // The facade compares only iterators that can be copied.
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
