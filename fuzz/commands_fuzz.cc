#include <cstdlib>

#include "dct/queries.h"
#include "fuzz/memory_file.h"
#include "tvr_utils/tvr_image_iterator.h"

namespace {

constexpr int k_wait_statuses[] = {0, 227 << 8, 25 << 8, 141 << 8, 9};

void check(const TVRImage& image, bool filtered) {
  const std::size_t count = image.copy_numbers.size();
  const bool whole =
      count >= 1 && image.fragment_numbers.size() == count && image.frag_values.size() == count;
  const bool asked_for = !filtered || (image.client_name == "c" && image.policy_name == "p");
  if (!whole || !asked_for) std::abort();
}

void read_to_its_end(bool filtered) {
  const TVRImageIterator end;
  TVRImageIterator image =
      filtered ? TVRImageIterator("/", "pool", "c", "p", 1) : TVRImageIterator("/", "pool", 1);
  for (; image != end; ++image) check(*image, filtered);
}

}  // namespace

// The output of the product's commands. The first byte selects how the command ends, and the question: a
// listing of one directory or of all, the disk pool, or whether imports are pending.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return -1;
  const std::size_t end = data[0] / 2 % std::size(k_wait_statuses);
  const int question = data[0] / 10 % 3;
  fuzz::set_command(fuzz::text_of(data + 1, size - 1), k_wait_statuses[end]);
  const auto ask = [&] {
    if (question == 0) read_to_its_end(data[0] % 2 == 0);
    if (question == 1) (void)dct::GetDiskPoolName("/", "media1").name();
    if (question == 2 && dct::CheckPendImpListIsExisting("/").exists() != (size > 1)) std::abort();
  };
  const bool succeeded = fuzz::succeeds(ask, question == 0);
  // A failed command must not look successful.
  if (succeeded && question == 0 && end > 1) std::abort();
  return 0;
}
