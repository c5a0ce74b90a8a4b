#include <benchmark/benchmark.h>

#include <string>

#include <boost/filesystem/operations.hpp>

#include "catalog/podb/basename_time_and_copy.h"
#include "catalog/podb/po_filename.h"
#include "sandbox/storage_builder.h"
#include "tvr_utils/tvr_image_iterator.h"

namespace {

namespace fs = boost::filesystem;

const std::string k_client = "client00001";
const std::string k_policy = "policy00001";
const std::string k_basename = k_client + "_1602000000_C1_F1.img";

// A storage with one policy directory of as many images, of one copy and one PO each; removed at
// the end.
class OneDirectory {
 public:
  explicit OneDirectory(std::int64_t images)
      : m_root(fs::temp_directory_path() / fs::unique_path()), m_storage(m_root) {
    constexpr std::size_t k_record_bytes = 128;
    constexpr std::int64_t k_first = 1602000000;
    sandbox::PolicyDirWriter dir(policy_dir(), k_record_bytes, 1);
    for (std::int64_t i = 0; i < images; ++i) {
      dir.put(k_client + "_" + std::to_string(k_first + i) + "_C1_F1.img");
      m_storage.list_image(k_client, k_policy, k_first + i, {1});
    }
    dir.finish();
  }
  OneDirectory(const OneDirectory&) = delete;
  OneDirectory& operator=(const OneDirectory&) = delete;
  ~OneDirectory() {
    boost::system::error_code ignored;
    fs::remove_all(m_root, ignored);
  }

  fs::path policy_dir() const { return m_storage.policy_dir(k_client, k_policy); }
  fs::path admincmd_dir() const { return m_storage.product() / "tavrin" / "bin" / "admincmd"; }

 private:
  const fs::path m_root;
  const sandbox::StorageBuilder m_storage;
};

void FullBasename(benchmark::State& state) {
  for (auto _ : state) {
    catalog::podb::POFilename name;
    name.parse(k_basename, k_client);
    benchmark::DoNotOptimize(name);
  }
}
BENCHMARK(FullBasename);

void LightBasename(benchmark::State& state) {
  for (auto _ : state) {
    catalog::podb::BasenameTimeAndCopy name;
    name.parse(k_basename, k_client);
    benchmark::DoNotOptimize(name);
  }
}
BENCHMARK(LightBasename);

void BasenameListing(benchmark::State& state) {
  const OneDirectory directory(state.range(0));
  for (auto _ : state) {
    std::size_t bytes = 0;
    SQLitePODB database("", directory.policy_dir().string());
    const auto status =
        database.get_basenames([&](std::string_view name) { bytes += name.size(); });
    if (status != k_status_ok) state.SkipWithError("the database could not be read");
    benchmark::DoNotOptimize(bytes);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BasenameListing)->Arg(3)->Arg(1000)->Arg(100000);

// With the child that prints the listing.
void ImageListing(benchmark::State& state) {
  const OneDirectory directory(state.range(0));
  const TVRImageIterator end;
  for (auto _ : state) {
    constexpr unsigned long k_all_hours = 1000000;
    std::int64_t images = 0;
    TVRImageIterator image(directory.admincmd_dir(), sandbox::k_disk_pool, k_client, k_policy,
                           k_all_hours);
    for (; image != end; ++image) ++images;
    if (images != state.range(0)) state.SkipWithError("the listing is not whole");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ImageListing)->Arg(3)->Arg(1000)->Arg(10000)->UseRealTime();

}  // namespace
