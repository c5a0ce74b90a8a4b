#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <string>

#include <boost/filesystem/operations.hpp>

#include "catalog/client_name_case/repair_podb.h"
#include "catalog/orphans/deletion_matches.h"
#include "catalog/podb/basename_time_and_copy.h"
#include "catalog/podb/po_filename.h"
#include "dct/log_file.h"
#include "record/run_record.h"
#include "sandbox/storage_builder.h"
#include "tvr_utils/tvr_image_iterator.h"

namespace {

namespace fs = boost::filesystem;

const std::string k_client = "client00001";
const std::string k_policy = "policy00001";
const std::string k_basename = k_client + "_1602000000_C1_F1.img";

constexpr std::int64_t k_first_time = 1602000000;

// A storage with one policy directory, removed at the end. It holds so many images of k_client, with
// one copy and one PO each; `directory` may be another spelling of the client.
class OneDirectory {
 public:
  explicit OneDirectory(std::int64_t images, const std::string& directory = k_client)
      : m_root(fs::temp_directory_path() / fs::unique_path()), m_storage(m_root) {
    constexpr std::size_t k_record_bytes = 128;
    sandbox::PolicyDirWriter dir(policy_dir(directory), k_record_bytes, 1);
    for (std::int64_t i = 0; i < images; ++i) {
      dir.put(k_client + "_" + std::to_string(k_first_time + i) + "_C1_F1.img");
      m_storage.list_image(k_client, k_policy, k_first_time + i, {1});
    }
    dir.finish();
    // The sandbox's query reads this variable.
    (void)::setenv("KSREGISTRY", m_storage.registry_file().c_str(), 1);
  }
  OneDirectory(const OneDirectory&) = delete;
  OneDirectory& operator=(const OneDirectory&) = delete;
  ~OneDirectory() {
    boost::system::error_code ignored;
    fs::remove_all(m_root, ignored);
  }

  fs::path policy_dir(const std::string& client = k_client) const {
    return m_storage.policy_dir(client, k_policy);
  }
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

// Includes the child that prints the listing.
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

// Moves one group of POs into a new directory.
void MoveOfAGroup(benchmark::State& state) {
  const std::string other = "CLIENT00001";
  const OneDirectory directory(state.range(0), other);
  const fs::path source = directory.policy_dir(other);
  const fs::path target = directory.policy_dir();
  dct::util::LogFile log(directory.policy_dir("log").parent_path().parent_path() / "bench.log");
  catalog::RunTotals totals;
  catalog::RepairMessages findings(log, log, totals);
  for (auto _ : state) {
    record::Directory found = catalog::directory_of(source);
    const int status = catalog::podb::RepairPODB(source, findings, found).visit_podb_impl();
    state.PauseTiming();
    if (status != k_status_ok) state.SkipWithError("the group could not be moved");
    fs::remove_all(source);
    fs::rename(target, source);
    fs::remove(target.parent_path());
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(MoveOfAGroup)
    ->Arg(1)
    ->Arg(1000)
    ->Arg(100000)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

// Finds the POs that the deletion of all orphans takes.
void MatchesOfAllOrphans(benchmark::State& state) {
  using catalog::podb::DeletionMatches;
  catalog::podb::CopySet orphans;
  std::vector<std::string> names;
  for (std::int64_t i = 0; i < state.range(0); ++i) {
    orphans.insert({k_first_time + i, 1});
    names.push_back(k_client + "_" + std::to_string(k_first_time + i) + "_C1_F1.img");
  }
  for (auto _ : state) {
    DeletionMatches matches(k_client, orphans, DeletionMatches::Rows::kept);
    for (const std::string& name : names) matches.add({name, 0, 0});
    matches.finish();
    benchmark::DoNotOptimize(matches);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(MatchesOfAllOrphans)->Arg(1000)->Arg(100000);

// Writes the record of a run with so many orphans.
void RecordOfOrphans(benchmark::State& state) {
  const fs::path dir = fs::temp_directory_path() / fs::unique_path();
  for (auto _ : state) {
    record::RunRecord record;
    record.begin(dir, record::Run());
    record::Directory directory{"2", k_client, k_policy, {}, 0};
    record::Orphan orphan;
    orphan.copy_number = 1;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      orphan.backup_time = k_first_time + i;
      record.add(directory, orphan);
    }
    record.done(directory);
    record.end({record::Ending::orderly, "", 0});
    state.PauseTiming();
    if (record.failed()) state.SkipWithError("the record could not be written");
    state.counters["bytes"] = static_cast<double>(fs::file_size(dir / "mdfixup/runs/0-0.db"));
    fs::remove_all(dir);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(RecordOfOrphans)->Arg(1)->Arg(1000)->Arg(100000)->UseRealTime();

}  // namespace
