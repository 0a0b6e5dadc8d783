// Counts work, so that a long operation calls its interruption check regularly. Work is counted because
// counting costs less than a clock, and gives the same calls in every run.
#pragma once

#include <cstddef>

#include "check_interrupt.h"

namespace mcp_responses::detail {

/// Work is counted in bytes that are read, written or compared. An element of a container and a system
/// call count as much as this many bytes.
inline constexpr std::size_t element_work = 64;
inline constexpr std::size_t system_call_work = 4096;

/// About 0.1 ms of work in memory, or 64 system calls.
inline constexpr std::size_t work_between_checks = std::size_t{256} << 10;

/// The work of one thread.
struct Work {
  const CheckInterrupt* check = nullptr;  // of the innermost InterruptScope
  std::size_t since_check = 0;
};
// In the model "initial-exec", a shared library needs no function call to access the variable.
extern constinit thread_local Work work [[gnu::tls_model("initial-exec")]];

/// Calls the interruption check of this thread, if there is one. Exceptions of the check are passed on.
void check_interrupt();

/// Adds work, and calls the interruption check if it is due. A loop whose length a caller controls calls
/// it, unless it is a single pass over memory.
inline void count_work(std::size_t bytes) {
  work.since_check += bytes;
  if (work.since_check >= work_between_checks) [[unlikely]]
    check_interrupt();
}

}  // namespace mcp_responses::detail
