// What a list or an object of this library's own holds, where it lies: for what walks many of them
// and must not count an owner for each.
#pragma once

#include <span>

#include "value.h"

namespace mcp_responses {

/// In order. Requires a list, or an object, that is not held elsewhere: its `ops().materialized` is
/// null. Valid while the handle, or a copy of it, lives unchanged.
std::span<const Value> elements_of(const Handle& list) noexcept;
std::span<const Member> members_of(const Handle& object) noexcept;

}  // namespace mcp_responses
