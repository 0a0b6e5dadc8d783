#include "stack_guard.h"

#include <pthread.h>

#include "py_errors.h"

namespace mcp_responses {
namespace {

std::uintptr_t find_end_of_stack() noexcept {
  pthread_attr_t attributes;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return 0;
  void* lowest = nullptr;
  std::size_t size = 0;
  const bool found = pthread_attr_getstack(&attributes, &lowest, &size) == 0;
  pthread_attr_destroy(&attributes);
  return found ? reinterpret_cast<std::uintptr_t>(lowest) : 0;
}

}  // namespace

std::uintptr_t end_of_stack() noexcept {
  static thread_local const std::uintptr_t end = find_end_of_stack();
  return end;
}

void raise_stack_overflow() {
  raise(PyExc_RecursionError, "maximum recursion depth exceeded: this thread's stack is full");
}

}  // namespace mcp_responses
