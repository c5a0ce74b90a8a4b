#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace catalog::podb {

// The image copy that a PO's basename names. More lenient than POFilename: it accepts one more
// token, ignores fragments, and treats a replicated object like any other.
//
// Threads: one thread.
class BasenameTimeAndCopy {
 public:
  // Fills the fields from a basename found in the directory of client `client_dir`.
  // Errors: as POFilename::parse.
  //
  // Do not change the fields between two calls: a name of the same copy as the last one leaves them
  // as they are.
  void parse(std::string_view basename, const std::string& client_dir);

  std::int64_t backup_time = 0;  // seconds since the epoch
  std::uint32_t copy_number = 0;
  std::string client_name;

 private:
  bool names_same_copy(std::string_view basename, const std::string& client_dir) const;

  std::string m_copy_prefix;  // of the last name, with the separator after the copy number
};

}  // namespace catalog::podb
