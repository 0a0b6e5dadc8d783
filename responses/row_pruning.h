// Row pruning: a list row carries only what it knows.
#pragma once

#include "value.h"

namespace mcp_responses {

/// A new object with the members of `row` whose value is not null, in order. Only null goes: false,
/// 0, "", [] and {} stay, and so do nulls inside them.
Object without_nulls(const Object& row);

}  // namespace mcp_responses
