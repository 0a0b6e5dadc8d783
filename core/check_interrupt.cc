#include "check_interrupt.h"

#include <utility>

#include "detail/work.h"

namespace mcp_responses {

namespace detail {

constinit thread_local Work work;

void check_interrupt() {
  work.since_check = 0;
  if (work.check != nullptr) (*work.check)();
}

}  // namespace detail

InterruptScope::InterruptScope(const CheckInterrupt& check) noexcept
    : outer_(std::exchange(detail::work.check, &check)) {}

InterruptScope::~InterruptScope() { detail::work.check = outer_; }

}  // namespace mcp_responses
