#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace util {

// An array that grows in place: the kernel moves the pages of a large one. A vector would copy
// them, and need its memory twice meanwhile.
//
// Threads: one thread at a time. Moved, not copied.
// Errors: std::bad_alloc.
template <class T>
class GrowingArray {
  static_assert(std::is_trivially_copyable_v<T>, "it is moved as bytes");

 public:
  GrowingArray() = default;
  ~GrowingArray() = default;
  GrowingArray(const GrowingArray&) = delete;
  GrowingArray& operator=(const GrowingArray&) = delete;
  GrowingArray(GrowingArray&& other) noexcept { swap(other); }
  GrowingArray& operator=(GrowingArray&& other) noexcept {
    GrowingArray(std::move(other)).swap(*this);
    return *this;
  }

  void push_back(const T& value) {
    constexpr std::size_t k_fewest = 16;
    if (m_size == m_capacity) allocate(std::max(k_fewest, m_capacity + m_capacity / 2));
    begin()[m_size++] = value;
  }

  // Keeps the first `size` values.
  void truncate(std::size_t size) { m_size = std::min(size, m_size); }

  // Releases unused memory.
  void shrink() {
    if (m_size != 0 && m_size != m_capacity) allocate(m_size);
  }

  std::size_t size() const { return m_size; }
  bool empty() const { return m_size == 0; }
  T* begin() { return m_values.get(); }
  T* end() { return begin() + m_size; }
  const T* begin() const { return m_values.get(); }
  const T* end() const { return begin() + m_size; }
  const T& back() const { return begin()[m_size - 1]; }

 private:
  struct Free {
    void operator()(T* values) const { std::free(values); }
  };

  void swap(GrowingArray& other) noexcept {
    std::swap(m_values, other.m_values);
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
  }

  void allocate(std::size_t capacity) {
    void* const values = std::realloc(m_values.get(), capacity * sizeof(T));
    if (values == nullptr) throw std::bad_alloc();
    (void)m_values.release();  // realloc has freed or kept it
    m_values.reset(static_cast<T*>(values));
    m_capacity = capacity;
  }

  std::unique_ptr<T, Free> m_values;
  std::size_t m_size = 0;
  std::size_t m_capacity = 0;
};

}  // namespace util
