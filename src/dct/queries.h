#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include "dct/popen_read.h"

// Short queries of the backup product.
//
// Threads: one thread.
// Errors: the constructors throw those of PopenRead. k_status_child_did_not_exit: a signal ended the
//   query, so empty output is no answer.
namespace dct {

// Finds in the product's listing the disk pool whose storage server has a name that begins with a
// host name.
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

// Asks the product for images that wait to be imported: it prints a line for each.
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
