#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace sandbox {

class StorageBuilder;

// What to generate. The shares are of all image copies, each from 0 to 1, together at most 1.
struct Plan {
  unsigned clients = 3;
  unsigned policies = 2;  // of each client
  unsigned images = 40;   // of each policy
  unsigned copies = 2;    // of each image
  std::size_t record_bytes = 128;
  // Pairs of clients whose names differ in letter case; each directory has POs of the other client.
  unsigned pairs = 0;
  double miscased_share = 0.05;
  double orphan_share = 0.05;
  double missing_share = 0.05;
  std::uint64_t seed = 1;
};

// What a generated storage holds and the program must report: lines with line ends, in byte order.
struct Generated {
  std::size_t policy_dirs = 0;
  std::size_t pos = 0;
  std::size_t copies = 0;           // in the metadata, under the client's own spelling
  std::size_t miscased_copies = 0;  // under another spelling, as in the backup catalog
  std::vector<std::string> scan_lines;
  std::vector<std::string> orphan_lines;
  // Copies that the metadata lacks, or has in another client's directory than the backup catalog
  // says.
  std::vector<std::string> missing_lines;
};

// Fills an empty storage by the plan, and its folder planted/ with the lines, one file a kind. The
// plan, with its seed, determines the storage.
// Errors: as StorageBuilder.
Generated generate(const StorageBuilder& storage, const Plan& plan);

}  // namespace sandbox
