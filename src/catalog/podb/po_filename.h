#pragma once

#include <cstdint>
#include <string>

namespace catalog::podb {

// The fields of a PO's basename: `<client>_<time>_C<copy>_<fragment>[_S<extra>].<suffix>`.
//
// Threads: one thread.
class POFilename {
 public:
  // Fills the fields from a basename found in the directory of client `client_dir`. A header
  // leaves `fragment_number` as it was, a name of other than 5 tokens `extra_number`.
  // Errors: Cr_ErrnoException, k_status_malformed for a malformed name and k_status_handled for a
  //   name that is skipped on purpose (an event, a replicated object); boost::bad_lexical_cast for
  //   a malformed number. Fields filled before the error stay filled.
  void parse(const std::string& basename, const std::string& client_dir);

  std::uint32_t copy_number = 0;
  std::int32_t fragment_number = 0;  // negative for a true-image-restore fragment
  std::uint32_t extra_number = 0;
  std::int64_t backup_time = 0;  // seconds since the epoch
  std::string client_name;
  std::string suffix;
};

}  // namespace catalog::podb
