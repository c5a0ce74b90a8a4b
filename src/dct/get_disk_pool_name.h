#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include "dct/popen_read.h"

namespace dct {

// Finds in the product's listing the disk pool whose storage server has a name that begins with a
// host name.
//
// Threads: one thread.
// Errors: the constructor throws those of PopenRead.
class GetDiskPoolName {
 public:
  GetDiskPoolName(const boost::filesystem::path& admincmd_dir, const std::string& host_name);

  // Empty if no disk pool names the host.
  const std::string& name() const { return m_name; }

 private:
  void parse_stream(const std::string& host_name);

  PopenRead m_pipe;
  std::string m_name;
};

}  // namespace dct
