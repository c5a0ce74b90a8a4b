#pragma once

#include <boost/filesystem/path.hpp>

#include "dct/popen_read.h"

namespace dct {

// Asks the product for images that wait to be imported: it prints a line for each.
//
// Threads: one thread.
// Errors: the constructor throws those of PopenRead. k_status_child_did_not_exit: a signal ended the
//   query, so empty output does not mean that there are none.
class CheckPendImpListIsExisting {
 public:
  explicit CheckPendImpListIsExisting(const boost::filesystem::path& admincmd_dir);

  bool exists() const { return m_exists; }

 private:
  void parse_stream();

  PopenRead m_pipe;
  bool m_exists = false;
};

}  // namespace dct
