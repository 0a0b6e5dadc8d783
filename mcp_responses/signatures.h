// The module's functions as one table: their parameters, what they are declared to take and give,
// what they say of themselves, and their bodies. A further function is one more row, and its body.
#pragma once

#include <array>

#include "function_type.h"

namespace mcp_responses {

/// In the order in which the module defines them.
extern const std::array<Signature, 24> signatures;

}  // namespace mcp_responses
