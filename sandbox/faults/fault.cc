#include "sandbox/faults/fault.h"

namespace sandbox::faults {

namespace {

// Whatever changes a file, a directory or a database.
const std::string k_changing_calls =
    "write,pwrite64,fsync,fdatasync,rename,unlink,truncate,ftruncate,mkdir,rmdir,link,chmod,chown";
// Whatever else may fail, pipes and children among it. Not close: an injected failure leaves the
// descriptor open, which the real one does not.
const std::string k_other_calls =
    ",openat,read,pread64,lseek,fcntl,getdents64,pipe2,vfork,clone,clone3,wait4";

}  // namespace

std::string Fault::calls() const {
  return intent == Intent::kill ? k_changing_calls : k_changing_calls + k_other_calls;
}

const std::vector<Fault>& all_faults() {
  static const std::vector<Fault> faults{
      {"kill", Intent::kill, "signal=KILL", false},
      {"EIO", Intent::fail, "error=EIO", false},
      {"EIO+", Intent::fail, "error=EIO", true},
      {"ENOSPC", Intent::fail, "error=ENOSPC", false},
      {"ENOSPC+", Intent::fail, "error=ENOSPC", true},
      {"signal", Intent::interrupt, "", false},
  };
  return faults;
}

}  // namespace sandbox::faults
