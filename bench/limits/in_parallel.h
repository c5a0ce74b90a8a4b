#pragma once

#include <cstddef>
#include <functional>

namespace limits {

// Calls `work` once for each index below `count`, on so many threads.
// Errors: those of `work` if there is one thread; with several they end the program.
void in_parallel(unsigned threads, std::size_t count, const std::function<void(std::size_t)>& work);

}  // namespace limits
