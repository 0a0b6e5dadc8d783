// Row pruning: removes the null members of a row.
#pragma once

#include "value.h"

namespace mcp_responses {

/// The members of `row` whose value is not null, in order. False, 0, "", [] and {} are kept, and so
/// are nulls in nested objects and lists.
Object without_nulls(const Object& row);

}  // namespace mcp_responses
