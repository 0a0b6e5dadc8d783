// Raises RecursionError before recursion through native functions overflows the stack.
//
// The interpreter counts its own frames, and a native function uses more stack than one of them. So
// its limit of 1000 frames does not suffice in a thread with a small stack.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mcp_responses {

/// The lowest address of this thread's stack. 0 if it is not known.
std::uintptr_t end_of_stack() noexcept;

[[noreturn]] void raise_stack_overflow();

/// Throws `PythonError` (RecursionError) in the last 64 KiB of this thread's stack. A coroutine that has
/// a stack of its own is not checked.
inline void check_stack() {
  constexpr std::size_t reserve = std::size_t{64} << 10;
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  // Below the end, as on the stack of a coroutine, the difference wraps around and exceeds the reserve.
  if (here - end_of_stack() < reserve) raise_stack_overflow();
}

}  // namespace mcp_responses
