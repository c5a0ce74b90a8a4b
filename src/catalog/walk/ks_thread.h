#pragma once

#include <pthread.h>

#include <atomic>
#include <cassert>
#include <cstddef>

// A thread that calls a member function of an object repeatedly until it is asked to stop.
//
// Threads: create and join from one thread; request_stop from any.
// Ownership: refers to the object, which must outlive the thread and joins it.
template <class T>
class Ks_Thread {
 public:
  using Function = void (T::*)(Ks_Thread<T>*);

  // `stack_size` in bytes, 0 for the system's default.
  Ks_Thread(Function func, T* clss, std::size_t stack_size, unsigned number)
      : m_func(func), m_clss(clss), m_stack_size(stack_size), m_number(number) {}
  ~Ks_Thread() = default;
  Ks_Thread(const Ks_Thread&) = delete;
  Ks_Thread& operator=(const Ks_Thread&) = delete;

  // Starts the thread. Returns 0, or the error number when it could not be created.
  int create() {
    pthread_attr_t attributes;
    int error = ::pthread_attr_init(&attributes);
    if (error != 0) return error;
    if (m_stack_size != 0) error = ::pthread_attr_setstacksize(&attributes, m_stack_size);
    if (error == 0) error = ::pthread_create(&m_handle, &attributes, &Ks_Thread::Run, this);
    if (error != 0) m_handle = 0;
    ::pthread_attr_destroy(&attributes);
    return error;
  }

  // The thread ends after the current call.
  void request_stop() { m_is_to_stop = true; }

  // Waits for the thread's end; returns at once when it was never created.
  void join() {
    if (m_handle != 0) ::pthread_join(m_handle, nullptr);
    m_handle = 0;
  }

  // 0 for the first thread of a pool, counting up.
  unsigned number() const { return m_number; }

 private:
  static void* Run(void* arg) {
    auto* ks_thread = static_cast<Ks_Thread*>(arg);
    assert(ks_thread->m_clss);
    assert(ks_thread->m_func);
    while (!ks_thread->m_is_to_stop) (ks_thread->m_clss->*ks_thread->m_func)(ks_thread);
    return nullptr;
  }

  const Function m_func;
  T* const m_clss;
  pthread_t m_handle = 0;
  const std::size_t m_stack_size;
  const unsigned m_number;
  std::atomic<bool> m_is_to_stop{false};
};
