#include "podb/sqlite_memory.h"

#include <malloc.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include <sqlite3.h>

namespace database {

namespace {

// The C library's blocks have 24 bytes, 40, 56 and so on. All blocks come from it and may go back
// to it, so they need no header.
constexpr std::size_t k_step = 16;
constexpr std::size_t k_beyond_step = 8;
constexpr std::size_t k_smallest = k_step + k_beyond_step;
constexpr std::size_t k_lists = 256;
constexpr std::size_t k_most_bytes_in_list = 8192;

// A sanitizer does not detect the use of a block that is kept in a list.
#ifdef MDFIXUP_SANITIZED
constexpr bool k_sanitized = true;
#else
constexpr bool k_sanitized = false;
#endif

struct FreeBlock {
  FreeBlock* next;
};

struct List {
  FreeBlock* first;
  std::size_t bytes;
};

// Trivial, so that the thread's other destructors may still use it.
struct KeptBlocks {
  std::array<List, k_lists> lists;
  bool at_end;  // the thread ends: keep no more blocks
};

thread_local KeptBlocks t_kept;

// Frees the lists when the thread ends.
class EndOfThread {
 public:
  EndOfThread() = default;
  ~EndOfThread() {
    t_kept.at_end = true;
    for (List& list : t_kept.lists) {
      while (list.first != nullptr) std::free(std::exchange(list.first, list.first->next));
    }
  }
  EndOfThread(const EndOfThread&) = delete;
  EndOfThread& operator=(const EndOfThread&) = delete;
  void construct() const {}  // its first use makes a thread_local object
};

thread_local const EndOfThread t_end;

// The list of the smallest blocks that have room for `size` bytes.
std::size_t list_of(std::size_t size) {
  return size <= k_smallest ? 0 : (size - k_beyond_step - 1) / k_step;
}

std::size_t size_in(std::size_t list) {
  return k_smallest + list * k_step;
}

int rounded_up(int size) {
  return static_cast<int>(size_in(list_of(static_cast<std::size_t>(size))));
}

int size_of(void* block) {
  return static_cast<int>(::malloc_usable_size(block));
}

void* take(int size) {
  const std::size_t number = list_of(static_cast<std::size_t>(size));
  if (number >= k_lists) return std::malloc(size_in(number));
  List& list = t_kept.lists[number];
  if (list.first == nullptr) return std::malloc(size_in(number));
  list.bytes -= size_in(number);
  return std::exchange(list.first, list.first->next);
}

void put_back(void* block) {
  if (block == nullptr) return;
  // Rounded down: the next use may need all of that size.
  const std::size_t number = (::malloc_usable_size(block) - k_smallest) / k_step;
  if (number >= k_lists || t_kept.at_end) return std::free(block);
  List& list = t_kept.lists[number];
  if (list.bytes + size_in(number) > k_most_bytes_in_list) return std::free(block);
  t_end.construct();
  list.bytes += size_in(number);
  list.first = new (block) FreeBlock{list.first};
}

// A block that grows returns to its own list; otherwise that list would run dry.
void* resized(void* block, int size) {
  const std::size_t old_size = ::malloc_usable_size(block);
  if (list_of(old_size) >= k_lists) return std::realloc(block, static_cast<std::size_t>(size));
  void* const other = take(size);
  if (other == nullptr) return nullptr;
  std::memcpy(other, block, std::min(old_size, static_cast<std::size_t>(size)));
  put_back(block);
  return other;
}

int begin(void* /*unused*/) {
  return SQLITE_OK;
}

void end(void* /*unused*/) {}

}  // namespace

bool keep_sqlite_blocks() {
  if (k_sanitized) return true;
  sqlite3_mem_methods methods{&take,       &put_back, &resized, &size_of,
                              &rounded_up, &begin,    &end,     nullptr};
  return sqlite3_config(SQLITE_CONFIG_MALLOC, &methods) == SQLITE_OK;
}

}  // namespace database
