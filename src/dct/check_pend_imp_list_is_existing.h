#pragma once

#include <boost/filesystem/path.hpp>

#include "dct/popen_read.h"

namespace dct {

// Asks the product for images that wait to be imported: any line of its answer is one.
//
// Threads: one thread.
// Errors: the constructor throws what PopenRead throws, and k_status_child_did_not_exit when the
//   query died, since silence would then be no answer.
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
