// System calls that a signal can interrupt.
#pragma once

#include <cerrno>

#include "check_interrupt.h"

namespace mcp_responses::detail {

/// Returns the result of `call()`, which is repeated while it fails with EINTR, as in Python (PEP
/// 475). Calls `check_interrupt` before each repetition, so that a signal handler can end the
/// operation.
template <class Call>
auto retry_interrupted(const CheckInterrupt& check_interrupt, Call call) {
  for (;;) {
    const auto result = call();
    if (result != -1 || errno != EINTR) return result;
    check_interrupt();
  }
}

}  // namespace mcp_responses::detail
