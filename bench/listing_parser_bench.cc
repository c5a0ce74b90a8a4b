#include <benchmark/benchmark.h>

#include <string>
#include <string_view>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "sandbox/storage_builder.h"
#include "sandbox/text_file.h"
#include "tvr_utils/tvr_image_parser.h"

namespace {

namespace fs = boost::filesystem;

// The sandbox's listing of so many images, of two copies each.
std::string listing(std::int64_t images) {
  const fs::path root = fs::temp_directory_path() / fs::unique_path();
  const sandbox::StorageBuilder storage(root);
  constexpr std::int64_t k_first_time = 1602000000;
  for (std::int64_t i = 0; i < images; ++i) {
    storage.list_image("client00001", "policy00001", k_first_time + i, {1, 2});
  }
  std::string text = sandbox::read_text(storage.product() / "images/client00001/policy00001");
  fs::remove_all(root);
  return text;
}

// Reads the lines from memory.
class MemoryReader : public details::BaseTVRImageIteratorImpl {
 public:
  explicit MemoryReader(std::string_view text)
      : BaseTVRImageIteratorImpl(sandbox::k_disk_pool, "client00001", "policy00001", true),
        m_rest(text) {
    if (read_line()) begin();
  }

 protected:
  bool read_line() override {
    const std::size_t end = m_rest.find('\n');
    set_current_line(m_rest.substr(0, end));
    if (end == std::string_view::npos) return false;
    m_rest.remove_prefix(end + 1);
    return true;
  }
  bool ok_to_increment() override { return !current_line().empty(); }

 private:
  std::string_view m_rest;
};

void ListingParser(benchmark::State& state) {
  const std::string text = listing(state.range(0));
  for (auto _ : state) {
    std::int64_t images = 0;
    for (MemoryReader reader(text); reader.current() != nullptr; reader.increment()) ++images;
    if (images != state.range(0)) state.SkipWithError("the listing is not whole");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(ListingParser)->Arg(1000);

}  // namespace
