#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace catalog::podb {

// What a PO's basename says of the image copy it belongs to. More lenient than POFilename: one
// token more is accepted, fragments are not looked at, and a replicated object counts like any
// other.
//
// Threads: one thread.
class BasenameTimeAndCopy {
 public:
  // Fills the fields from a basename found in the directory of client `client_dir`.
  // Errors: as POFilename::parse.
  //
  // The fields are not to be changed between two calls: a name of the same copy as the one parsed last,
  // known by its beginning, leaves them as they are.
  void parse(std::string_view basename, const std::string& client_dir);

  std::int64_t backup_time = 0;  // seconds since the epoch
  std::uint32_t copy_number = 0;
  std::string client_name;

 private:
  bool names_same_copy(std::string_view basename, const std::string& client_dir) const;

  std::string m_copy_prefix;  // of the last name, with the separator behind the copy number
};

}  // namespace catalog::podb
