#pragma once

#include <cstddef>
#include <functional>

namespace limits {

// Calls `work` for each index below `count`, each once, on so many threads.
// Errors: what `work` throws on one thread; on several the program ends.
void in_parallel(unsigned threads, std::size_t count, const std::function<void(std::size_t)>& work);

}  // namespace limits
