#include "tool/thread_count.h"

#include <algorithm>
#include <string>

#include "console/run_log.h"
#include "dct/descriptor_limit.h"
#include "tool/option_table.h"

namespace {

// Streams, lock, logs and walks.
constexpr std::uint64_t k_descriptors_of_run = 30;

}  // namespace

unsigned thread_count(std::uint64_t descriptors_of_worker) {
  const auto asked = static_cast<unsigned>(opt_num_threads);
  const std::uint64_t limit = dct::descriptor_limit();
  const std::uint64_t left = limit - std::min(limit, k_descriptors_of_run);
  const std::uint64_t most = std::max<std::uint64_t>(1, left / descriptors_of_worker);
  if (asked <= most) return asked;
  WarningA("only " + std::to_string(most) + " of " + std::to_string(asked) +
           " threads are used: the limit of open files is " + std::to_string(limit));
  return static_cast<unsigned>(most);
}
