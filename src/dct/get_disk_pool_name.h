#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include "dct/popen_read.h"

namespace dct {

// Finds the disk pool whose storage server's name begins with a host name, in the product's
// listing.
//
// Threads: one thread.
// Errors: the constructor throws what PopenRead throws, and k_status_child_did_not_exit when the
//   listing died.
class GetDiskPoolName {
 public:
  GetDiskPoolName(const boost::filesystem::path& admincmd_dir, const std::string& host_name);

  // Empty when no disk pool names the host.
  const std::string& name() const { return m_name; }

 private:
  void parse_stream(const std::string& host_name);

  PopenRead m_pipe;
  std::string m_name;
};

}  // namespace dct
