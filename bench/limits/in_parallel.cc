#include "bench/limits/in_parallel.h"

#include <atomic>
#include <thread>
#include <vector>

namespace limits {

void in_parallel(unsigned threads, std::size_t count,
                 const std::function<void(std::size_t)>& work) {
  std::atomic<std::size_t> next{0};
  const auto run = [&] {
    for (std::size_t i = next++; i < count; i = next++) work(i);
  };
  if (threads < 2) return run();
  std::vector<std::thread> workers;
  for (unsigned i = 0; i < threads; ++i) workers.emplace_back(run);
  for (std::thread& worker : workers) worker.join();
}

}  // namespace limits
