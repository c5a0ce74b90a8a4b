#include <cstdlib>

#include <boost/lexical_cast.hpp>

#include "fuzz/memory_file.h"
#include "platform/status.h"
#include "tvr_utils/tvr_image_iterator.h"

namespace {

constexpr int k_wait_statuses[] = {0, 227 << 8, 25 << 8, 141 << 8, 9};

void check(const TVRImage& image, bool filtered) {
  const std::size_t count = image.copy_numbers.size();
  const bool whole = count >= 2 && image.fragment_numbers.size() == count &&
                     image.frag_values.size() == count && image.fragment_numbers.back() == 0;
  const bool asked_for = !filtered || (image.client_name == "c" && image.policy_name == "p");
  if (!whole || !asked_for) std::abort();
}

void read_to_its_end(bool filtered) {
  const TVRImageIterator end;
  const std::string pool = "pool";
  TVRImageIterator image =
      filtered ? TVRImageIterator("/", pool, "c", "p", 1) : TVRImageIterator("/", pool, 1);
  for (; image != end; ++image) check(*image, filtered);
}

}  // namespace

// The first byte tells how the command ends, the rest is what it lists.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return -1;
  const std::size_t end = data[0] / 2 % std::size(k_wait_statuses);
  fuzz::set_command(data + 1, size - 1, k_wait_statuses[end]);
  try {
    read_to_its_end(data[0] % 2 == 0);
  } catch (const Cr_ErrnoException&) {
    return 0;
  } catch (const boost::bad_lexical_cast&) {
    return 0;
  }
  if (end > 1) std::abort();  // a failed command passed for one that did well
  return 0;
}
