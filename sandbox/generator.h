#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace sandbox {

class StorageBuilder;

// What a generated storage holds. The shares are of all image copies, each from 0 to 1 and together
// at most 1.
struct Plan {
  unsigned clients = 3;
  unsigned policies = 2;  // of each client
  unsigned images = 40;   // of each policy
  unsigned copies = 2;    // of each image
  std::size_t record_bytes = 128;
  // Pairs of clients whose names differ in letter case, each directory with a PO of the other's.
  unsigned pairs = 0;
  double miscased_share = 0.05;
  double orphan_share = 0.05;
  double missing_share = 0.05;
  std::uint64_t seed = 1;
};

// What was planted, as the program must report it: lines with their line ends, in byte order.
struct Planted {
  std::size_t policy_dirs = 0;
  std::size_t pos = 0;
  std::size_t copies = 0;           // in the metadata, under the client's own spelling
  std::size_t miscased_copies = 0;  // under another one; the backup catalog lists them there
  std::vector<std::string> scan_lines;
  std::vector<std::string> orphan_lines;
  // Copies that were left out of the metadata, and those that are there under another client's
  // directory than the backup catalog says.
  std::vector<std::string> missing_lines;
};

// Fills an empty storage by the plan, and its folder planted/ with the lines, one file a kind. The
// same plan and seed give the same storage.
// Errors: as StorageBuilder.
Planted plant(const StorageBuilder& storage, const Plan& plan);

}  // namespace sandbox
