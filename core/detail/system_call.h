// System calls that a signal can interrupt.
#pragma once

#include <cerrno>

#include "detail/work.h"

namespace mcp_responses::detail {

/// Returns the result of `call()`, which is repeated while it fails with EINTR, as in Python (PEP
/// 475). Checks for an interruption before each repetition, so that a signal handler can end the
/// operation.
template <class Call>
auto retry_interrupted(Call call) {
  count_work(system_call_work);
  for (;;) {
    const auto result = call();
    if (result != -1 || errno != EINTR) return result;
    check_interrupt();
  }
}

}  // namespace mcp_responses::detail
