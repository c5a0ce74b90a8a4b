#include "record/counts.h"

namespace record {

std::string number_of(const DirCounts& counts, std::uint64_t DirCounts::*which) {
  std::string text = std::to_string(counts.*which);
  for (const Count& count : k_counts) {
    if (count.value == which) text += std::string(" ") + count.many;
  }
  return text;
}

std::string summary_of(const DirCounts& counts) {
  std::string text;
  for (const Count& count : k_counts) {
    if (!count.in_summary_line) continue;
    text += std::string(", ") + count.many + " " + std::to_string(counts.*count.value);
  }
  return text;
}

}  // namespace record
