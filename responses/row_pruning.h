// Row pruning: the row of a list omits unknown fields.
#pragma once

#include "value.h"

namespace mcp_responses {

/// The members of `row` whose value is not null, in order. False, 0, "", [] and {} stay, and so do
/// nulls inside them.
Object without_nulls(const Object& row);

}  // namespace mcp_responses
