#include <benchmark/benchmark.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "catalog/walk/dirs_iterator.h"
#include "catalog/walk/locked_dirs_iterator.h"

namespace {

namespace fs = boost::filesystem;

constexpr int k_clients = 5000;  // each with one policy directory

// A metadata tree of empty policy directories, removed at the end.
class Tree {
 public:
  Tree() : m_root(fs::temp_directory_path() / fs::unique_path()) {
    for (int i = 0; i < k_clients; ++i) {
      fs::create_directories(m_root / catalog::k_walked_dsid_name / std::to_string(i) / "policy");
    }
  }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;
  ~Tree() {
    boost::system::error_code ignored;
    fs::remove_all(m_root, ignored);
  }

  const fs::path& root() const { return m_root; }

 private:
  const fs::path m_root;
};

void finish(benchmark::State& state, std::int64_t dirs_of_each) {
  if (dirs_of_each != k_clients) state.SkipWithError("not every directory came, and came once");
  state.SetItemsProcessed(state.iterations() * k_clients);
}

void Walk(benchmark::State& state) {
  const Tree tree;
  std::int64_t dirs = 0;
  for (auto _ : state) {
    dirs = 0;
    const catalog::DirsIterator end;
    catalog::DirsIterator dir(tree.root(), nullptr, catalog::k_policy_dir_depth);
    for (; !dir.equal(end); dir.do_increment(true)) ++dirs;
  }
  finish(state, dirs);
}
BENCHMARK(Walk)->UseRealTime();

// Hands all directories to workers that do nothing with them.
void HandOut(benchmark::State& state) {
  const Tree tree;
  std::atomic<std::int64_t> dirs{0};
  for (auto _ : state) {
    dirs = 0;
    catalog::LockedDirsIterator source(tree.root(), nullptr);
    std::vector<std::thread> workers;
    for (std::int64_t i = 0; i < state.range(0); ++i) {
      workers.emplace_back([&] {
        while (!source.get_next_path().empty()) ++dirs;
      });
    }
    for (std::thread& worker : workers) worker.join();
  }
  finish(state, dirs);
}
BENCHMARK(HandOut)->Arg(1)->Arg(2)->Arg(8)->Arg(64)->UseRealTime();

}  // namespace
